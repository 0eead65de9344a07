#include "base/log_forms.h"

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/text.h"

int uplinkd_debug_mode = 0;

// Room for a console text and its NUL; what exceeds it is cut.
static constexpr int CONSOLE_TEXT_SIZE = 1024;
// How long a console may be unready, for example stopped with Ctrl-S, before lines are dropped. It
// is given that time in one second only once, so that a slow one cannot hold up a handler at every
// line.
static constexpr int CONSOLE_PATIENCE_MS = 3;
// The second of the last wait. (Atomic, since the notice timer logs on a thread of its own.)
static std::atomic<time_t> waited_at = 0;

static bool is_console_ready(int patience_ms) {
    pollfd console = {.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
    return poll(&console, 1, patience_ms) == 1;
}

static bool wait_for_console() {
    if (is_console_ready(0))
        return true;
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return waited_at.exchange(now.tv_sec) != now.tv_sec && is_console_ready(CONSOLE_PATIENCE_MS);
}

// Standard output as a terminal or pipe that cannot block us: it may have room for a part of a text
// only. (Standard output itself is shared with who started us, and has to stay as it is.) Returns a
// descriptor, or -1 for a file or a socket.
static int open_unblocking() {
    struct stat output;
    if (fstat(STDOUT_FILENO, &output) != 0 ||
        !(S_ISCHR(output.st_mode) || S_ISFIFO(output.st_mode)))
        return -1;
    constexpr int FLAGS = O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    return openat(AT_FDCWD, "/proc/self/fd/1", FLAGS); // one system call in musl, too
}

// Writes without being ended by a pipe whose reader has gone. (Ignoring SIGPIPE for good would be
// inherited by every client that is started.) Returns whether the console took all of it.
static bool write_without_sigpipe(const char *data, size_t length) {
    sigset_t sigpipe = {}, previous; // zeroes are the empty set in Linux
    sigaddset(&sigpipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &sigpipe, &previous);
    const int own = open_unblocking();
    const ssize_t written = write(own >= 0 ? own : STDOUT_FILENO, data, length);
    if (own >= 0)
        close(own);
    if (written < 0) {
        const timespec at_once = {};
        sigtimedwait(&sigpipe, nullptr, &at_once);
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    return written >= 0 && static_cast<size_t>(written) == length;
}

static void hide_control_characters(char *text) {
    for (; *text != '\0'; text++) {
        const bool control = static_cast<unsigned char>(*text) < ' ' || *text == '\x7f';
        if (control && *text != '\n' && *text != '\t')
            *text = '?';
    }
}

// Returns whether the console took the text.
[[gnu::format(printf, 1, 0)]] static bool console_write(const char *format, va_list args) {
    text<CONSOLE_TEXT_SIZE> line;
    int length = vsnprintf(line.data(), sizeof line.chars, format, args);
    if (length >= line.size())
        length = line.size() - 1;
    hide_control_characters(line.data());
    if (length <= 0)
        return true;
    if (!wait_for_console())
        return false;
    return write_without_sigpipe(line.c_str(), static_cast<size_t>(length));
}

[[gnu::format(printf, 1, 2)]] static bool console_print(const char *format, ...) {
    va_list args;
    va_start(args, format);
    const bool taken = console_write(format, args);
    va_end(args);
    return taken;
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
