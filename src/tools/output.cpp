#include "tools/output.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "platform/host/files.h"
#include "tools/cli.h"

namespace output {

namespace {

std::array<char, 16 * 1024> buffer;
size_t filled = 0;
int destination = STDOUT_FILENO;
int failed_with = 0;
bool needs_comma = false;
text_filter filter = nullptr;

void write_out() {
    if (filled > 0 && failed_with == 0 && !host::write_all(destination, {buffer.data(), filled}))
        failed_with = errno;
    filled = 0;
}

void put_char(char c) {
    put({&c, 1});
}

// The length of the UTF-8 character that TEXT begins with; 0 for what is none.
size_t character_length(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    const size_t length = first < 0x80                    ? 1
                          : first >= 0xc2 && first < 0xe0 ? 2
                          : first >= 0xe0 && first < 0xf0 ? 3
                          : first >= 0xf0 && first < 0xf5 ? 4
                                                          : 0;
    if (length > text.size())
        return 0;
    for (size_t i = 1; i < length; i++)
        if ((byte(i) & 0xc0) != 0x80)
            return 0;
    const bool out_of_range =
        length > 2 && ((first == 0xe0 && byte(1) < 0xa0) || (first == 0xed && byte(1) >= 0xa0) ||
                       (first == 0xf0 && byte(1) < 0x90) || (first == 0xf4 && byte(1) >= 0x90));
    return out_of_range ? 0 : length;
}

void put_string(std::string_view text) {
    put_char('"');
    while (!text.empty()) {
        const size_t length = character_length(text);
        const auto c = static_cast<unsigned char>(text[0]);
        if (length == 0)
            put("\\ufffd");
        else if (c == '"' || c == '\\')
            print("\\%c", c);
        else if (c < 0x20 || c == 0x7f)
            print("\\u%04x", c);
        else
            put(text.substr(0, length));
        text.remove_prefix(length == 0 ? 1 : length);
    }
    put_char('"');
}

void begin_value(const char *name) {
    if (needs_comma)
        put_char(',');
    needs_comma = true;
    if (name != nullptr)
        print("\"%s\":", name);
}

} // namespace

void redirect(int fd) {
    destination = fd;
}

void put(std::string_view text) {
    while (!text.empty()) {
        if (filled == buffer.size())
            write_out();
        const size_t part = std::min(text.size(), buffer.size() - filled);
        memcpy(&buffer[filled], text.data(), part);
        filled += part;
        text.remove_prefix(part);
    }
}

void put_plain(std::string_view text) {
    for (const char c : text)
        put_char(cli::is_control(c) ? '?' : c);
}

void print(const char *format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    put({text, std::min(static_cast<size_t>(std::max(length, 0)), sizeof text - 1)});
}

int flush() {
    write_out();
    return failed_with == 0 ? cli::DONE : cli::failure("cannot write: %s", strerror(failed_with));
}

void open(const char *name, char bracket) {
    begin_value(name);
    put_char(bracket);
    needs_comma = false;
}

void close(char bracket) {
    put_char(bracket);
    needs_comma = true;
}

void text_member(const char *name, std::string_view text) {
    begin_value(name);
    put_string(filter == nullptr ? text : filter(text));
}

void word_member(const char *name, std::string_view word) {
    begin_value(name);
    put_string(word);
}

void number_member(const char *name, long number) {
    begin_value(name);
    print("%ld", number);
}

void seconds_member(const char *name, long long microseconds) {
    begin_value(name);
    print("%lld.%06lld", microseconds / 1000000, microseconds % 1000000);
}

void bool_member(const char *name, bool value) {
    begin_value(name);
    put(value ? "true" : "false");
}

void null_member(const char *name) {
    begin_value(name);
    put("null");
}

void end_line() {
    put_char('\n');
    needs_comma = false;
}

void filter_texts(text_filter wanted) {
    filter = wanted;
}

} // namespace output
