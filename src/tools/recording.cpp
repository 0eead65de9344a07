#include "tools/recording.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <initializer_list>
#include <iterator>
#include <sys/mman.h>
#include <sys/stat.h>

#include "platform/host/files.h"
#include "tools/cli.h"

namespace recording {

namespace {

// Texts in their places, without a relocation each.
constexpr char NAMES[MEMBERS][10] = {"t",        "kind",   "id",       "name",     "new",
                                     "state",    "client", "wan",      "pid",      "owner",
                                     "lines",    "to",     "accepted", "wan_mode", "strategy",
                                     "priority", "rule",   "text",     "format",   "version"};

constexpr unsigned bits(std::initializer_list<member> members) {
    unsigned all = 0;
    for (const member which : members)
        all |= 1U << which;
    return all;
}

constexpr struct {
    char name[10];
    unsigned needed;
} KINDS[] = {
    // in the order of the enumeration
    {"setting", bits({NAME, NEW})},
    {"item", bits({ID, NAME, NEW})},
    {"flag", bits({NAME, NEW})},
    {"file", bits({NAME, NEW})},
    {"daemon", bits({PID, STATE})},
    {"client", bits({CLIENT, WAN, PID, STATE})},
    {"decision", bits({WAN_MODE, STRATEGY, PRIORITY, RULE, TEXT})},
    {"received", bits({ID})},
    {"sent", bits({ID, TO, ACCEPTED})},
    {"batch", bits({STATE, OWNER})},
    {"missed", bits({NAME})},
    {"live", 0},
};
static_assert(std::size(KINDS) == OTHER);

kind kind_of(std::string_view word) {
    size_t which = 0;
    while (which < OTHER && KINDS[which].name != word)
        which++;
    return static_cast<kind>(which);
}

// ---- JSON: takes a value off the beginning of REST, and returns it as it is written; empty for
// what is none.

std::string_view take_value(std::string_view &rest, int depth = 0);

bool take_mark(std::string_view &rest, char mark) {
    if (!rest.starts_with(mark))
        return false;
    rest.remove_prefix(1);
    return true;
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// The length of the escape that TEXT begins with; 0 for none that there is.
size_t escape_length(std::string_view text) {
    constexpr size_t UNICODE = 6;
    if (text.size() < 2)
        return 0;
    if (text[1] != 'u')
        return std::string_view("\"\\/bfnrt").find(text[1]) == text.npos ? 0 : 2;
    const bool is_whole = text.size() >= UNICODE && text.substr(2, 4).find_first_not_of(
                                                        "0123456789abcdefABCDEF") == text.npos;
    return is_whole ? UNICODE : 0;
}

std::string_view cut(std::string_view &rest, size_t length) {
    const std::string_view value = rest.substr(0, length);
    rest.remove_prefix(value.size());
    return value;
}

std::string_view take_string(std::string_view &rest) {
    size_t at = 1;
    while (at < rest.size() && rest[at] != '"') {
        const size_t step = rest[at] == '\\' ? escape_length(rest.substr(at)) : 1;
        if (step == 0 || static_cast<unsigned char>(rest[at]) < ' ')
            return {};
        at += step;
    }
    return at < rest.size() ? cut(rest, at + 1) : std::string_view{};
}

std::string_view take_number(std::string_view &rest) {
    size_t at = rest.starts_with('-') ? 1 : 0;
    const auto take_digits = [&] {
        const size_t begin = at;
        while (at < rest.size() && is_digit(rest[at]))
            at++;
        return at > begin;
    };
    if (!take_digits())
        return {};
    if (at < rest.size() && rest[at] == '.') {
        at++;
        if (!take_digits())
            return {};
    }
    return cut(rest, at);
}

// A list, or an object with its names.
std::string_view take_nested(std::string_view &rest, int depth) {
    constexpr int DEEPEST = 8;
    const std::string_view before = rest;
    const bool is_object = rest[0] == '{';
    const char end = is_object ? '}' : ']';
    if (depth == DEEPEST)
        return {};
    rest.remove_prefix(1);
    while (!take_mark(rest, end)) {
        if (is_object &&
            (!rest.starts_with('"') || take_string(rest).empty() || !take_mark(rest, ':')))
            return {};
        if (take_value(rest, depth + 1).empty() ||
            (!take_mark(rest, ',') && !rest.starts_with(end)))
            return {};
    }
    return before.substr(0, before.size() - rest.size());
}

std::string_view take_value(std::string_view &rest, int depth) {
    for (const std::string_view word : {"true", "false", "null"})
        if (rest.starts_with(word))
            return cut(rest, word.size());
    if (rest.empty())
        return {};
    switch (rest[0]) {
    case '"': return take_string(rest);
    case '{':
    case '[': return take_nested(rest, depth);
    default: return take_number(rest);
    }
}

// ---- lines

// Null, or what is wrong with the line.
const char *parse(std::string_view line, event &found) {
    constexpr const char *NO_OBJECT = "no JSON object";
    found.line = line;
    found.values = {};
    if (!take_mark(line, '{'))
        return NO_OBJECT;
    while (!line.starts_with('}')) {
        std::string_view name = line.starts_with('"') ? take_string(line) : std::string_view{};
        if (name.empty() || !take_mark(line, ':'))
            return NO_OBJECT;
        name = name.substr(1, name.size() - 2);
        const std::string_view value = take_value(line);
        if (value.empty() || (!take_mark(line, ',') && !line.starts_with('}')))
            return NO_OBJECT;
        for (size_t i = 0; i < MEMBERS; i++)
            if (NAMES[i] == name)
                found.values[i] = value;
    }
    found.is = kind_of(found.word(KIND));
    return line == "}" ? nullptr : NO_OBJECT;
}

const char *fault_of(const event &found) {
    if (found.values[T].empty() || !is_digit(found.values[T][0]) || found.word(KIND).empty())
        return "no time or no kind";
    const unsigned needed = found.is == OTHER ? 0 : KINDS[found.is].needed;
    for (unsigned which = 0; which < MEMBERS; which++)
        if ((needed >> which & 1) != 0 && found.values[which].empty())
            return "a member of its kind is missing";
    return nullptr;
}

// Takes a line with its end off TEXT; false for one without.
bool take_line(std::string_view &text, std::string_view &line) {
    const size_t end = text.find('\n');
    if (end == text.npos)
        return false;
    line = text.substr(0, end);
    text.remove_prefix(end + 1);
    return true;
}

// A copy, which stays as it is when somebody cuts the file.
int map(const char *path, std::string_view &text) {
    const host::descriptor file(host::open_regular(path, O_RDONLY));
    struct stat status = {};
    void *room = MAP_FAILED;
    if (file >= 0 && fstat(file, &status) == 0) {
        if (status.st_size == 0)
            return cli::DONE;
        room = mmap(nullptr, static_cast<size_t>(status.st_size), PROT_READ | PROT_WRITE,
                    MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    }
    if (room == MAP_FAILED)
        return cli::failure("cannot read '%s': %s", path, strerror(errno));
    const auto size = static_cast<size_t>(status.st_size);
    auto *const bytes = static_cast<char *>(room);
    size_t filled = 0;
    for (ssize_t got; filled < size && (got = read(file, bytes + filled, size - filled)) > 0;)
        filled += static_cast<size_t>(got);
    text = {bytes, filled};
    return cli::DONE;
}

} // namespace

std::string_view event::word(member which) const {
    const std::string_view value = values[which];
    return value.starts_with('"') ? value.substr(1, value.size() - 2) : std::string_view{};
}

bool next(cursor &at, event &found) {
    std::string_view line;
    if (!take_line(at.rest, line))
        return false;
    found.number = ++at.number;
    parse(line, found);
    at.is_live = at.is_live || found.is == LIVE;
    return true;
}

std::string_view take_element(std::string_view &list) {
    const std::string_view value = take_value(list);
    take_mark(list, ',');
    return value;
}

int open(const char *path, contents &file) {
    std::string_view text, line;
    if (const int status = map(path, text); status != cli::DONE)
        return status;
    event found;
    if (!take_line(text, line) || parse(line, found) != nullptr ||
        found.word(FORMAT) != "uplinkd-events" || found.values[VERSION] != "1")
        return cli::failure("%s: line 1: no recording of version 1", path);
    file = {path, text};
    size_t number = 1;
    while (take_line(text, line)) {
        const char *fault = parse(line, found);
        number++;
        if (fault == nullptr)
            fault = fault_of(found);
        if (fault != nullptr)
            return cli::failure("%s: line %zu: %s", path, number, fault);
    }
    if (!text.empty())
        return cli::failure("%s: line %zu: cut, it does not end", path, number + 1);
    return cli::DONE;
}

} // namespace recording
