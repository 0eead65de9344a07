#include "base/log_forms.h"

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <poll.h>
#include <unistd.h>

#include "base/text.h"

int uplinkd_debug_mode = 0;

// Room for a console text and its NUL; what exceeds it is cut.
static constexpr int CONSOLE_TEXT_SIZE = 1024;
// How long a console may be unready, for example stopped with Ctrl-S, before lines are dropped.
static constexpr int CONSOLE_PATIENCE_MS = 100;
// It has had that time, and has not been ready since. (Atomic, since the notice timer logs on a
// thread of its own.)
static std::atomic<bool> console_is_stuck = false;

static bool wait_for_console() {
    pollfd console = {.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
    const bool ready = poll(&console, 1, console_is_stuck ? 0 : CONSOLE_PATIENCE_MS) == 1;
    console_is_stuck = !ready;
    return ready;
}

// Writes without being ended by a pipe whose reader has gone. (Ignoring SIGPIPE for good would be
// inherited by every client that is started.)
static void write_without_sigpipe(const char *data, size_t length) {
    sigset_t sigpipe, previous;
    sigemptyset(&sigpipe);
    sigaddset(&sigpipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &sigpipe, &previous);
    if (write(STDOUT_FILENO, data, length) < 0) {
        const timespec at_once = {};
        sigtimedwait(&sigpipe, nullptr, &at_once);
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

static void hide_control_characters(char *text) {
    for (; *text != '\0'; text++) {
        const bool control = static_cast<unsigned char>(*text) < ' ' || *text == '\x7f';
        if (control && *text != '\n' && *text != '\t')
            *text = '?';
    }
}

// Returns whether the console was ready for the text.
[[gnu::format(printf, 1, 0)]] static bool console_write(const char *format, va_list args) {
    text<CONSOLE_TEXT_SIZE> line;
    int length = vsnprintf(line.data(), sizeof line.chars, format, args);
    if (length >= line.size())
        length = line.size() - 1;
    hide_control_characters(line.data());
    if (!wait_for_console())
        return false;
    if (length > 0)
        write_without_sigpipe(line.c_str(), static_cast<size_t>(length));
    return true;
}

[[gnu::format(printf, 1, 2)]] static bool console_print(const char *format, ...) {
    va_list args;
    va_start(args, format);
    const bool was_ready = console_write(format, args);
    va_end(args);
    return was_ready;
}

void console_line(const log_site &site, const char *format, ...) {
    if (!console_print("[uplinkd] %s--%s--%d: ", "uplinkd", site.function, site.line))
        return;
    va_list args;
    va_start(args, format);
    const bool shown = console_write(format, args);
    va_end(args);
    if (shown)
        console_print("\n");
}
