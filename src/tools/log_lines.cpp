#include "tools/log_lines.h"

#include <algorithm>

#include "base/log_forms.h"
#include "tools/cli.h"

namespace log_lines {

static bool take(std::string_view &rest, std::string_view expected) {
    if (!rest.starts_with(expected))
        return false;
    rest.remove_prefix(expected.size());
    return true;
}

// What stands before the first of MARKS.
static std::string_view take_until(std::string_view &rest, std::string_view marks) {
    const std::string_view taken = rest.substr(0, rest.find_first_of(marks));
    rest.remove_prefix(taken.size());
    return taken;
}

static std::string_view said_in(std::string_view words) {
    int line = 0;
    if (!take(words, "[uplinkd] "))
        return {};
    take_until(words, "- :");
    return take(words, "--") && cli::take_number(words, 10, line) && take(words, ": ")
               ? words
               : std::string_view{};
}

log_parts split(std::string_view line) {
    constexpr size_t TIME_SIZE = 23;
    log_parts parts;
    parts.words = line;
    if (line.size() <= TIME_SIZE)
        return parts;
    std::string_view rest = line.substr(TIME_SIZE);
    if (!take(rest, " "))
        return parts;
    parts.program = take_until(rest, "[");
    parts.is_whole = take(rest, "[") && cli::take_number(rest, 10, parts.pid) && take(rest, "] ") &&
                     cli::take_number(rest, 10, parts.level) && take(rest, " ");
    if (!parts.is_whole)
        return parts;
    parts.time = line.substr(0, TIME_SIZE);
    parts.words = rest;
    if (parts.program == "UPLINKD")
        parts.said = said_in(rest);
    return parts;
}

bool find_message(const log_parts &log, message &found) {
    std::string_view rest = log.said;
    if (log.level != LOG_EVENT)
        return false;
    found.is_received = take(rest, "[uplinkd] [uplinkd_handler_msg] recv msg(0x");
    if (!found.is_received && !take(rest, "send msg (0x"))
        return false;
    if (!cli::take_number(rest, 16, found.id)) {
        found.id = -1;
        take_until(rest, ")");
    }
    if (!take(rest, found.is_received ? ") from " : ") to "))
        return false;
    found.peer = take_until(rest, " ");
    found.accepted = rest == " successfully";
    return found.is_received ? rest.empty() : found.accepted || rest == " failed!";
}

} // namespace log_lines
