// One value a file: the items and the flags.
//
// A value is written to a spare dot-file in the same folder and renamed into place, so a reader
// sees a whole value without any lock, whatever dies at whatever moment. Spare files have few
// names: one that a killed writer left behind is taken over by the next, so nothing piles up. A
// symbolic link, FIFO, folder or device that lies where a value should be reads as no value.
#pragma once

#include <string_view>

namespace host {

// Reads the value of FOLDER/NAME into BUFFER (SIZE bytes), cut to fit; the empty text when there is
// none. A newline at the very end, as echo leaves it, is not part of the value. Returns 0, or -1 if
// there was nothing to read.
int read_value(const char *folder, const char *name, char *buffer, int size);

// Stores VALUE; the empty text removes the file. Returns 0, or -1 with the old value in place.
int write_value(const char *folder, const char *name, std::string_view value);

} // namespace host
