#include "tools/cli.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace cli {

namespace {

const char *tool_name() {
    return program_invocation_short_name;
}

[[gnu::format(printf, 1, 0)]] void complain(const char *format, va_list arguments) {
    char message[1024];
    vsnprintf(message, sizeof message, format, arguments);
    make_printable(message);
    dprintf(STDERR_FILENO, "%s: %s\n", tool_name(), message);
}

bool parse(std::string_view digits, int base, int &number) {
    return take_number(digits, base, number) && digits.empty();
}

// 36 for what is no digit of any base.
int value_of_digit(char c) {
    const char small = to_small(c);
    if (c >= '0' && c <= '9')
        return c - '0';
    return small >= 'a' && small <= 'z' ? small - 'a' + 10 : 36;
}

} // namespace

bool is_help(const char *argument) {
    return strcmp(argument, "--help") == 0 || strcmp(argument, "-h") == 0;
}

bool is_version(const char *argument) {
    return strcmp(argument, "--version") == 0;
}

int print_help(const char *text) {
    const int status = print(text);
    return status != DONE ? status
                          : print("  -h, --help     print this summary\n"
                                  "  --version      print the version\n");
}

int print_version() {
    char line[80];
    snprintf(line, sizeof line, "%s %s\n", tool_name(), VERSION);
    return print(line);
}

int print(std::string_view text) {
    if (dprintf(STDOUT_FILENO, "%.*s", static_cast<int>(text.size()), text.data()) >= 0)
        return DONE;
    return failure("cannot write to standard output: %s", strerror(errno));
}

void make_printable(char *text) {
    for (; *text != '\0'; text++)
        if (is_control(*text))
            *text = '?';
}

void warn(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    complain(format, arguments);
    va_end(arguments);
}

int failure(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    complain(format, arguments);
    va_end(arguments);
    return FAILED;
}

int wrong_usage(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    complain(format, arguments);
    va_end(arguments);
    dprintf(STDERR_FILENO, "Try '%s --help'.\n", tool_name());
    return WRONG_USAGE;
}

bool take_number(std::string_view &text, int base, int &number) {
    const bool is_negative = text.starts_with('-');
    size_t at = is_negative ? 1 : 0;
    long long value = 0;
    for (; at < text.size() && value_of_digit(text[at]) < base; at++) {
        value = value * base + value_of_digit(text[at]);
        if (value > INT_MAX)
            return false;
    }
    if (at == (is_negative ? 1 : 0))
        return false;
    number = static_cast<int>(is_negative ? -value : value);
    text.remove_prefix(at);
    return true;
}

bool parse_decimal(const char *text, int &number) {
    return parse(text, 10, number);
}

bool parse_decimal_or_hex(const char *text, int &number) {
    const std::string_view digits{text};
    if (digits.starts_with("0x") || digits.starts_with("0X"))
        return digits.substr(2, 1) != "-" && parse(digits.substr(2), 16, number);
    return parse(digits, 10, number);
}

} // namespace cli
