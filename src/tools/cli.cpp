#include "tools/cli.h"

#include <cctype>
#include <cerrno>
#include <charconv>
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
    const char *const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, base);
    return error == std::errc{} && stop == end;
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
        if (iscntrl(static_cast<unsigned char>(*text)))
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
