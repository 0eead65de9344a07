// Fixed text buffers, zero-filled at birth, so that no read meets an uncleared buffer and the size
// handed to a store is always the buffer's own.
#pragma once

#include <climits>
#include <cstdlib>

#include "platform/config_store.h"
#include "platform/devinfo_store.h"

template <int N> struct text {
    char chars[N] = {};

    char *data() { return chars; }
    const char *c_str() const { return chars; }
    bool empty() const { return chars[0] == '\0'; }
    static constexpr int size() { return N; }
};

// The value of a setting or an item, cut to the N - 1 characters that the buffer holds.
template <int N> text<N> setting_text(const char *key) {
    text<N> value;
    cfg_get_item(key, value.data(), value.size());
    return value;
}

template <int N> text<N> item_text(int id) {
    text<N> value;
    get_devinfo_value_by_id(id, value.data(), value.size());
    return value;
}

// A copy of TEXT, cut to the N - 1 characters that the buffer holds.
template <int N> constexpr text<N> to_text(const char *source) {
    text<N> copy;
    for (int i = 0; i < N - 1 && source[i] != '\0'; i++)
        copy.chars[i] = source[i];
    return copy;
}

// A status, switch or flag counts as 1, that is up or on, when it begins with '1'.
template <int N> bool is_one(const text<N> &status) {
    return status.chars[0] == '1';
}

// The decimal number at the start of a text, 0 where there is none, limited to what an int holds.
// END, if given, receives where the number ends, or the start of the text if there is none.
inline int to_int(const char *value, char **end = nullptr) {
    const long number = std::strtol(value, end, 10);
    if (number > INT_MAX)
        return INT_MAX;
    if (number < INT_MIN)
        return INT_MIN;
    return static_cast<int>(number);
}
