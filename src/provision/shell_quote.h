// Values from settings and items enter shell lines and files; these keep them values.
#pragma once

// Room for a value of 31 characters of which each one needs quoting.
inline constexpr int QUOTED_SIZE = 160;

struct quoted_text {
    char chars[QUOTED_SIZE] = {};
    const char *c_str() const { return chars; }
};

// VALUE as one word of a shell line: as it is while it holds only letters, digits and
// _ . / : @ % + = , - and in single quotes otherwise. An empty value stays empty; one that does not
// fit is cut at a character, still closed.
quoted_text shell_word(const char *value);
