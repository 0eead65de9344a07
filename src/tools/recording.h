// Reads recordings (docs/recordings.md), strictly and whatever they hold: a file that somebody sent
// is only text here, looked at where it lies in memory.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace recording {

// The members that tools go by.
enum member {
    T,
    KIND,
    ID,
    NAME,
    NEW,
    STATE,
    CLIENT,
    WAN,
    PID,
    OWNER,
    LINES,
    TO,
    ACCEPTED,
    WAN_MODE,
    STRATEGY,
    PRIORITY,
    RULE,
    TEXT,
    FORMAT,
    VERSION,
    MEMBERS
};

enum kind : unsigned char {
    SETTING,
    ITEM,
    FLAG,
    FILE_THERE,
    DAEMON,
    CLIENT_LIFE,
    DECISION,
    RECEIVED,
    SENT,
    BATCH,
    MISSED,
    LIVE,
    OTHER
};

struct event {
    kind is = OTHER;
    size_t number = 0; // of the line, from 1
    std::string_view line;
    std::array<std::string_view, MEMBERS> values; // as they are written; empty: not there

    std::string_view word(member which) const; // a string without its quotes
};

struct contents {
    const char *path = nullptr;
    std::string_view text; // what follows the first line
};

// Maps the file and checks all of it. Returns an exit status, having said what is wrong.
int open(const char *path, contents &file);

// The events of a recording that has been checked, one after the other.
struct cursor {
    explicit cursor(const contents &file) : rest(file.text) {}

    std::string_view rest;
    size_t number = 1;
    bool is_live = false; // the state at the start has ended
};
bool next(cursor &at, event &found);

// Takes the first value off what stands between the brackets of a list; empty at its end.
std::string_view take_element(std::string_view &list);

} // namespace recording
