// Values from settings and items enter shell lines and files; these keep them values. Ordinary
// ones, which hold only letters, digits and _ . / : @ % + = , -, are written as they are.
#pragma once

// Room for a value of 31 characters of which each one needs quoting, twice.
inline constexpr int QUOTED_SIZE = 320;

struct quoted_text {
    char chars[QUOTED_SIZE] = {};

    const char *c_str() const { return chars; }
    bool empty() const { return chars[0] == '\0'; }
};

// VALUE as one word of a shell line, in single quotes where it needs them. Empty for an empty
// value, and for one that does not fit.
quoted_text shell_word(const char *value);

// The same for a word inside a double-quoted command, which one shell reads to hand it to another.
quoted_text shell_word_in_double_quotes(const char *value);

// VALUE as one word of a PPP secrets file (pppd(8), AUTHENTICATION), in double quotes where it
// needs them. Empty for a value that the file cannot hold: one with a control character, or one
// that begins with "@/", which pppd would take for the name of a file to read the secret from.
quoted_text secrets_word(const char *value);
