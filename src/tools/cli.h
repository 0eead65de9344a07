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

// The whole of TEXT as a number that fits; false for anything else.
bool parse_decimal(const char *text, int &number);
bool parse_decimal_or_hex(const char *text, int &number);

} // namespace cli
