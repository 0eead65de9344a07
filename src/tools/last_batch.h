// The batch that the daemon built or ran last, as its file still has it.
#pragma once

#include <ctime>
#include <string_view>

#include "base/text.h"

struct last_batch {
    std::string_view script; // empty: there is none; valid until the next reading
    text<64> owner;          // the function that built it
    int commands = 0;
    bool is_run = false; // it was handed to the shell
    time_t written = 0;
};

last_batch read_last_batch();

// Takes the first line off TEXT, without its end.
std::string_view take_line(std::string_view &text);

// Whether a line of a batch is one for the shell.
constexpr bool is_command(std::string_view line) {
    return !line.empty() && line[0] != '#';
}
