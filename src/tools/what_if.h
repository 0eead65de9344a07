// The stores as they would be if some items and settings had other values, for the daemon's own
// decision functions to run in: all that they read passes through here, and what they store or log
// goes no further. (They are compiled for this program with the platform's operations renamed to
// those of what_if.cpp, which alone calls the platform itself: see CMakeLists.txt.)
#pragma once

namespace what_if {

// From now on reads see VALUE. NAME is an item's number or name, or a key of the daemon's
// settings. False for anything else, or when there are more than 64.
bool set(const char *name, const char *value);
bool set_item(int id, const char *value);

// Between these two, what is stored is kept here, until forget(). The values that set() was given
// stay as they are.
void begin();
void end();
void forget();

} // namespace what_if
