#include "tools/watch/log_lines.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "base/text.h"

namespace log_lines {

// Takes what stands before the next MARK off REST.
static std::string_view take(std::string_view &rest, char mark) {
    const size_t end = std::min(rest.find(mark), rest.size());
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(std::min(rest.size(), end + 1));
    return taken;
}

log_parts split(std::string_view line) {
    constexpr size_t TIME_SIZE = 23;
    log_parts parts;
    if (line.size() <= TIME_SIZE || line[TIME_SIZE] != ' ') {
        parts.words = line;
        return parts;
    }
    parts.time = line.substr(0, TIME_SIZE);
    line.remove_prefix(TIME_SIZE + 1);
    parts.program = take(line, '[');
    parts.pid = take(line, ']');
    take(line, ' ');
    parts.level = take(line, ' ');
    parts.words = line;
    parts.is_whole = true;
    return parts;
}

long number(std::string_view digits) {
    const text<24> copy = [&] {
        text<24> chars;
        snprintf(chars.data(), sizeof chars.chars, "%.*s", static_cast<int>(digits.size()),
                 digits.data());
        return chars;
    }();
    return strtol(copy.c_str(), nullptr, 0);
}

bool find_message(const log_parts &log, message &found) {
    constexpr std::string_view RECEIVED = "recv msg(", SENT = ": send msg (";
    if (log.program != "UPLINKD" || log.level != "0")
        return false;
    std::string_view rest = log.words;
    const size_t received = rest.find(RECEIVED);
    const size_t sent = rest.find(SENT);
    found.is_received = received != rest.npos && rest.find("uplinkd_handler_msg--") != rest.npos;
    if (found.is_received) {
        rest.remove_prefix(received + RECEIVED.size());
        found.id = number(take(rest, ')'));
        take(rest, 'm'); // " from "
        found.peer = rest.substr(std::min<size_t>(1, rest.size()));
        return true;
    }
    if (sent == rest.npos)
        return false;
    rest.remove_prefix(sent + SENT.size());
    found.id = number(take(rest, ')'));
    take(rest, 'o'); // " to "
    take(rest, ' ');
    found.peer = take(rest, ' ');
    found.accepted = rest == "successfully";
    return found.accepted || rest == "failed!";
}

} // namespace log_lines
