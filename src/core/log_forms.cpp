#include "core/log_forms.h"

#include <cstdarg>
#include <cstdio>
#include <unistd.h>

#include "core/text.h"

int uplinkd_debug_mode = 0;

// The longest console text; whatever exceeds it is cut.
static constexpr int CONSOLE_TEXT_SIZE = 1024;

[[gnu::format(printf, 1, 0)]] static void console_write(const char *format, va_list args) {
    text<CONSOLE_TEXT_SIZE> line;
    int length = vsnprintf(line.data(), sizeof line.chars, format, args);
    if (length >= line.size())
        length = line.size() - 1;
    if (length > 0 && write(STDOUT_FILENO, line.c_str(), static_cast<size_t>(length)) < 0)
        return; // a console that is gone takes nothing, and there is nowhere to say so
}

[[gnu::format(printf, 1, 2)]] static void console_print(const char *format, ...) {
    va_list args;
    va_start(args, format);
    console_write(format, args);
    va_end(args);
}

void console_line(const char *function, int line, const char *format, ...) {
    console_print("[uplinkd] %s--%s--%d: ", "uplinkd", function, line);
    va_list args;
    va_start(args, format);
    console_write(format, args);
    va_end(args);
    console_print("\n");
}
