// One value a file: the items and the flags.
//
// A value is written to a spare dot-file in the same folder and renamed into place, so a reader
// sees a whole value without any lock, whatever dies at whatever moment. A spare file has the name
// of its writer; what a killed one left behind is removed by the next process that writes there. A
// symbolic link, FIFO or folder that lies where a value should be reads as no value.
#pragma once

#include <atomic>
#include <string_view>
#include <sys/types.h>

namespace host {

struct value_folder {
    const char *path;
    std::atomic<pid_t> known_to = 0;      // the process that has written there before
    std::atomic<bool> needs_mode = true;  // as its umask, at that first write, takes bits away
    std::atomic<bool> is_failing = false; // since the log was told
};

// Reads the value of NAME into BUFFER (SIZE bytes), cut to fit; the empty text when there is none.
// A newline at the very end, as echo leaves it, is not part of the value. Returns 0, or -1 if there
// was nothing to read.
int read_value(const value_folder &folder, const char *name, char *buffer, int size);

// Stores VALUE; the empty text removes the file. Returns 0, or -1 with the old value in place. That
// is logged once in a row of such failures, and once more at its end.
int write_value(value_folder &folder, const char *name, std::string_view value);

} // namespace host
