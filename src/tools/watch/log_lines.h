// The lines of the log, taken apart.
#pragma once

#include <string_view>

namespace log_lines {

// "YYYY-MM-DD HH:MM:SS.mmm PROGRAM[PID] LEVEL TEXT"
struct log_parts {
    std::string_view time, program, pid, level, words;
    bool is_whole = false;
};
log_parts split(std::string_view line);

long number(std::string_view digits); // decimal, or 0x...

struct message {
    bool is_received;
    long id;
    std::string_view peer;
    bool accepted;
};

// The daemon's own lines of level 0: "recv msg(0x5303) from uis", "send msg (0x7005) to pfilterd
// successfully".
bool find_message(const log_parts &log, message &found);

} // namespace log_lines
