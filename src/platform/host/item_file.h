// An item as a file, for a program that wants values of any length.
#pragma once

namespace host {

// Opens item ID for reading; -1 with errno ENOENT where it has no value.
int open_item(int id);

} // namespace host
