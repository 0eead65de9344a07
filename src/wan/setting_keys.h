// Keys of settings that exist once for each index.
#pragma once

#include <cstdio>

#include "base/text.h"

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
