#include "tools/watch/log_follower.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/host/files.h"
#include "platform/host/places.h"
#include "tools/log_lines.h"
#include "tools/watch/events.h"

namespace log_follower {

namespace {

int log = -1;
std::array<char, 64 * 1024> buffer; // what has been read, from a line's beginning
size_t filled = 0;
void (*on_start)(int pid) = nullptr;

int inotify_queue = -1;
int file_watch = -1;

off_t size_of(int file) {
    struct stat status;
    return fstat(file, &status) == 0 ? status.st_size : 0;
}

// Lines that were there before the watch have no event. Returns their end.
off_t watch_file(int file) {
    for (;;) {
        const off_t size = size_of(file);
        const int watch = inotify_add_watch(inotify_queue, host::LOG_FILE, IN_MODIFY);
        if (file_watch >= 0 && file_watch != watch)
            inotify_rm_watch(inotify_queue, file_watch);
        file_watch = watch;
        if (watch < 0 || size == size_of(file))
            return size;
    }
}

// Returns where the lines begin of which events will come.
off_t open_log() {
    if (log >= 0)
        close(log);
    log = host::open_regular(host::LOG_FILE, O_RDONLY);
    return log < 0 ? 0 : watch_file(log);
}

// Returns whether there was something to read.
bool fill() {
    const ssize_t got = log < 0 ? 0 : read(log, &buffer[filled], buffer.size() - filled);
    filled += static_cast<size_t>(std::max<ssize_t>(got, 0));
    return got > 0;
}

void note_start(std::string_view line) {
    const log_lines::log_parts parts = log_lines::split(line);
    if (on_start != nullptr && parts.said == "uplinkd_init start!")
        on_start(parts.pid);
}

size_t count_lines() {
    return static_cast<size_t>(std::count(buffer.data(), buffer.data() + filled, '\n'));
}

void say_lines(size_t count) {
    size_t begin = 0;
    for (; count > 0; count--) {
        const char *const end =
            static_cast<const char *>(memchr(&buffer[begin], '\n', filled - begin));
        const std::string_view line{&buffer[begin], static_cast<size_t>(end - &buffer[begin])};
        begin += line.size() + 1;
        note_start(line);
        events::log_line(line);
    }
    // A line without an end that fills all of the room is none of the layer's.
    if (begin == 0 && filled == buffer.size())
        begin = filled;
    memmove(buffer.data(), &buffer[begin], filled - begin);
    filled -= begin;
}

} // namespace

void begin() {
    const off_t end = open_log();
    if (log >= 0)
        lseek(log, end, SEEK_SET);
}

void on_daemon_start(void (*started)(int pid)) {
    on_start = started;
}

void watch_in(int queue) {
    inotify_queue = queue;
}

bool is_watch(int watch) {
    return watch == file_watch;
}

void line_written() {
    if (count_lines() == 0)
        fill();
    say_lines(std::min<size_t>(count_lines(), 1));
}

bool has_more() {
    return count_lines() > 0 || fill();
}

void catch_up() {
    do
        say_lines(count_lines());
    while (fill());
}

// Says what the file has up to END.
static void say_until(off_t end) {
    while (lseek(log, 0, SEEK_CUR) < end && fill())
        say_lines(count_lines());
}

void follow_file() {
    if (log >= 0 && host::is_file_at(log, host::LOG_FILE))
        return;
    catch_up();
    filled = 0;
    const off_t before_watch = open_log();
    if (log >= 0)
        say_until(before_watch);
}

} // namespace log_follower
