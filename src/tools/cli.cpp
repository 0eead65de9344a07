#include "tools/cli.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "platform/host/files.h"
#include "platform/host/log_text.h"

namespace cli {

namespace {

const char *tool_name() {
    return program_invocation_short_name;
}

[[gnu::format(printf, 1, 0)]] void complain(const char *format, va_list arguments) {
    char message[1024];
    vsnprintf(message, sizeof message, format, arguments);
    std::array<char, 4 * sizeof message> visible;
    const std::string_view text = host::make_visible(visible, message);
    dprintf(STDERR_FILENO, "%s: %.*s\n", tool_name(), static_cast<int>(text.size()), text.data());
}

bool parse(std::string_view digits, int base, int &number) {
    const char *const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, base);
    return error == std::errc{} && stop == end;
}

} // namespace

bool is_help(const char *argument) {
    return strcmp(argument, "--help") == 0;
}

int print(std::string_view text) {
    if (host::write_all(STDOUT_FILENO, text))
        return DONE;
    return failure("cannot write to standard output: %s", strerror(errno));
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
