// The lines of the log, taken apart. What others have written into a value that the daemon quotes
// is never taken for its own words: these stand at fixed places.
#pragma once

#include <string_view>

namespace log_lines {

// "YYYY-MM-DD HH:MM:SS.mmm PROGRAM[PID] LEVEL WORDS"
struct log_parts {
    bool is_whole = false; // it has this form
    std::string_view time, program;
    int pid = 0, level = 0;
    std::string_view words; // of a line of another form, all of it
    std::string_view said;  // in the daemon's own lines, behind "[uplinkd] FUNCTION--LINE: "
};
log_parts split(std::string_view line);

struct message {
    bool is_received;
    int id; // -1 for one beyond all IDs
    std::string_view peer;
    bool accepted; // of one that was sent
};

// Whether the line says that the daemon has received or sent a message: "recv msg(0x5303) from
// uis", "send msg (0x7005) to pfilterd successfully".
bool find_message(const log_parts &log, message &found);

} // namespace log_lines
