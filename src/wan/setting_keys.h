// The keys of the settings, one constant each: USR_WAN_MODE holds "USR_WAN_MODE". The daemon reads
// each setting anew whenever it needs it; wan/settings.def says what there is to know of each.
#pragma once

#include <cstdio>

#include "base/text.h"

#define SETTING(key, indexes, values, fallback, otherwise, effect)                                 \
    inline constexpr char key[] = #key;
#include "wan/settings.def"
#undef SETTING

// The settings of a WAN or a LAN network have one key for each index: key_of_index where index 0
// has the bare key (EACH_WAN, EACH_LAN), always_indexed_key otherwise.
using setting_key = text<32>;

// KEY_<idx>.
inline setting_key always_indexed_key(const char *key, int idx) {
    setting_key indexed;
    snprintf(indexed.data(), sizeof indexed.chars, "%s_%d", key, idx);
    return indexed;
}

// The bare KEY for index 0, KEY_<idx> otherwise.
inline setting_key key_of_index(const char *key, int idx) {
    return idx == 0 ? to_text<32>(key) : always_indexed_key(key, idx);
}
