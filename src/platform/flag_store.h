// Named flags: short markers that the router's daemons leave for one another, empty at boot.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Stores VALUE under NAME. Returns 0, or -1 where it could not, as for a name that is
// no plain file name.
int flag_set(const char *name, const char *value);

// Reads flag NAME into BUFFER (SIZE bytes), NUL-terminated and cut to fit; a flag that was never
// set leaves the empty text. Returns 0 or -1.
int flag_get_item(const char *name, char *buffer, int size);

#ifdef __cplusplus
}
#endif
