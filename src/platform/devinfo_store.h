// Device information: live values shared by every program of the router, text under numeric IDs.
// They are kept in memory and start empty at boot. Any thread, any process, at any time.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Reads item ID into BUFFER (SIZE bytes), NUL-terminated and cut to fit; an item without a value
// leaves the empty text. Returns 0, or -1 if there was nothing to read; where that was a failure,
// errno says so.
int get_devinfo_value_by_id(int id, char *buffer, int size);

// Stores VALUE up to its first NUL or up to LENGTH bytes, whichever comes first; the empty text
// clears the item. A reader sees the old or the new value, never a mix. Returns 0, or -1 with the
// old value in place.
int set_devinfo_value_by_id(int id, const char *value, int length);

#ifdef __cplusplus
}
#endif
