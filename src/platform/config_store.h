// The user's settings: text values under text keys, persistent, read-only for the daemon.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Reads the value of KEY into BUFFER (SIZE bytes), NUL-terminated and cut to fit. A key that does
// not exist, or cannot be read, leaves the empty text. Returns 0, or -1 if there was nothing to
// read.
int cfg_get_item(const char *key, char *buffer, int size);

// The decimal number at the start of the value of KEY, after blanks and with a sign if it has one;
// 0 where there is none. A number beyond the range of int counts as the end of that range.
int get_CFG_int(const char *key);

#ifdef __cplusplus
}
#endif
