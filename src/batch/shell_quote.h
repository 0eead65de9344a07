// Values from settings and items enter shell lines and files; these keep them values. In a shell
// line those of letters, digits and _ . / : @ % + = , - stand as they are; in a secrets file all do
// that its own syntax takes bare.
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

// VALUE as one word of a PPP secrets file, in double quotes where the reader of that file needs
// them (pppd(8), AUTHENTICATION). For values that have no fault.
quoted_text secrets_word(const char *value);

// Why the value is not written into a PPP secrets file, in words that go on after "... refused: ";
// null if it is.
const char *fault_of_ppp_user(const char *value);
const char *fault_of_ppp_password(const char *value);
