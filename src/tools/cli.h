// What the tools' command lines have in common: exit statuses, messages, numbers.
#pragma once

#include <string_view>

namespace cli {

inline constexpr int DONE = 0;
inline constexpr int FAILED = 1;
inline constexpr int WRONG_USAGE = 2;

extern const char VERSION[]; // the project's

bool is_help(const char *argument);
bool is_version(const char *argument);

// Both print and return the exit status, as print() does. TEXT is what is the tool's own.
int print_help(const char *text);
int print_version();

// Writes TEXT to standard output; the exit status that follows from it.
int print(std::string_view text);

// Replaces what a terminal would obey, newlines too.
void make_printable(char *text);

// One line on standard error, whatever the arguments contain; the exit status to end with.
[[gnu::format(printf, 1, 2)]] int failure(const char *format, ...);

// The same for what is no failure.
[[gnu::format(printf, 1, 2)]] void warn(const char *format, ...);

// The same, and a hint at --help.
[[gnu::format(printf, 1, 2)]] int wrong_usage(const char *format, ...);

// Of ASCII, whatever the locale. What is no printable character of it may be one that a terminal
// obeys.
constexpr bool is_control(char c) {
    return c < ' ' || c > '~';
}
constexpr char to_small(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}
constexpr char to_large(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c & ~0x20) : c;
}

// Takes the number at the start of TEXT off it, in base 10 or 16, with a minus if it has one;
// false, and nothing taken, where there is none that fits.
bool take_number(std::string_view &text, int base, int &number);

// The whole of TEXT as a number that fits; false for anything else.
bool parse_decimal(const char *text, int &number);
bool parse_decimal_or_hex(const char *text, int &number);

} // namespace cli
