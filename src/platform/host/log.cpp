// The log file and the system's log. A line is composed on the caller's stack and appended in one
// write, so processes need no lock among themselves; only who rotates the file holds the file's own
// lock, and who finds it taken just appends. A log that cannot be written is silent: nothing here
// waits for a reader.
//
// Both ways out stay open between lines. A look at file and path tells whether the open file is
// still the log: one that was rotated, removed or replaced is followed at the next line. The
// system's log is found by its name at every line, so it may come and go. A child that is forked
// while another thread logs must not log itself.
#include "platform/log.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <span>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <utility>

#include "platform/host/files.h"
#include "platform/host/log_text.h"
#include "platform/host/own_process.h"
#include "platform/host/places.h"
#include "platform/host/setting_number.h"
#include "platform/mutex.h"

namespace {

constexpr off_t ROTATION_SIZE = 1024 * 1024;
constexpr mode_t LOG_MODE = 0640;
constexpr int DEFAULT_LEVEL = 1;
constexpr std::string_view CUT_MARK = " [cut]";

std::array<char, 32> log_identity{"-"}; // set before there are other threads
std::atomic<int> admitted_level{DEFAULT_LEVEL};

// The longest message that is kept whole, and what one line needs when every byte of it is escaped.
constexpr size_t MESSAGE_SIZE = 1024;
constexpr size_t LINE_SIZE = 4 * MESSAGE_SIZE + 128;

struct message {
    std::array<char, MESSAGE_SIZE> bytes;
    size_t length;
};

[[gnu::format(printf, 1, 0)]] message format_message(const char *format, va_list arguments) {
    message text;
    const int result = vsnprintf(text.bytes.data(), text.bytes.size(), format, arguments);
    const auto wanted = static_cast<size_t>(std::max(result, 0));
    text.length = std::min(wanted, text.bytes.size() - 1);
    if (wanted > text.length)
        CUT_MARK.copy(&text.bytes[text.length - CUT_MARK.size()], CUT_MARK.size());
    else if (wanted > 0 && text.bytes[wanted - 1] == '\n')
        text.length--;
    return text;
}

// What stays open until the process ends, -1 while it is not.
struct open_ends {
    uplinkd_mutex lock;
    int file UPLINKD_GUARDED_BY(lock) = -1;
    struct stat opened UPLINKD_GUARDED_BY(lock) = {}; // which file that is
    int sender UPLINKD_GUARDED_BY(lock) = -1;
};
open_ends ends;

int open_log() {
    constexpr int FLAGS = O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW;
    const int file = host::open_regular(host::LOG_FILE, FLAGS, LOG_MODE);
    if (file < 0 && errno == ENOENT && host::make_folders(host::LOG_FOLDER))
        return host::open_regular(host::LOG_FILE, FLAGS, LOG_MODE);
    return file;
}

// In place of the one that was open, whose lock goes with it.
void open_log_anew() UPLINKD_REQUIRES(ends.lock) {
    if (ends.file >= 0)
        close(ends.file);
    host::descriptor file{host::above_standard(open_log())};
    ends.file = -1;
    if (file < 0 || fstat(file, &ends.opened) != 0)
        return;
    std::swap(ends.file, file.fd);
}

bool is_opened_file(const struct stat &file) UPLINKD_REQUIRES(ends.lock) {
    return file.st_dev == ends.opened.st_dev && file.st_ino == ends.opened.st_ino;
}

// Whether the open file is the one that lies at the log's path; SIZE receives its length. Where
// others have closed it, its number may have become that of something else: hands off.
bool is_log_open(off_t &size) UPLINKD_REQUIRES(ends.lock) {
    struct stat open = {}, named = {};
    if (fstat(ends.file, &open) != 0 || !is_opened_file(open))
        ends.file = -1;
    size = open.st_size;
    return ends.file >= 0 && host::look_at(host::LOG_FILE, named) && is_opened_file(named);
}

// Two processes may find the file full at once: the lock and the second look keep the slower one
// from rotating the file that the faster one has just begun.
void rotate() UPLINKD_REQUIRES(ends.lock) {
    if (flock(ends.file, LOCK_EX | LOCK_NB) == 0 && host::is_file_at(ends.file, host::LOG_FILE))
        rename(host::LOG_FILE, host::OLD_LOG_FILE);
}

// What a full disk has no room for is taken back, unless another process has got some in between.
void append_whole(std::string_view line) UPLINKD_REQUIRES(ends.lock) {
    const ssize_t written = write(ends.file, line.data(), line.size());
    if (written <= 0 || written == static_cast<ssize_t>(line.size()))
        return;
    const off_t end = lseek(ends.file, 0, SEEK_CUR);
    if (lseek(ends.file, 0, SEEK_END) == end) [[maybe_unused]]
        const int undone = ftruncate(ends.file, end - written);
}

void log_to_file(std::string_view line) UPLINKD_REQUIRES(ends.lock) {
    off_t size = 0;
    if (!is_log_open(size)) {
        open_log_anew();
        size = ends.opened.st_size;
    }
    if (ends.file >= 0 && size > 0 && size + static_cast<off_t>(line.size()) > ROTATION_SIZE) {
        rotate();
        open_log_anew();
    }
    if (ends.file >= 0)
        append_whole(line);
}

int severity(int level) {
    if (level <= 0)
        return LOG_NOTICE;
    return level <= 2 ? LOG_INFO : LOG_DEBUG;
}

// Sends to the system's log without syslog(3), which waits for a logger that has stopped reading.
void log_to_system(std::string_view line) UPLINKD_REQUIRES(ends.lock) {
    if (ends.sender < 0)
        ends.sender = host::above_standard(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const sockaddr_un logger{AF_UNIX, "/dev/log"};
    if (ends.sender >= 0 &&
        sendto(ends.sender, line.data(), line.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr *>(&logger), sizeof logger) < 0 &&
        (errno == EBADF || errno == ENOTSOCK))
        ends.sender = -1; // closed by others, as the file may be
}

struct line_text {
    // Starts over with a heading.
    [[gnu::format(printf, 2, 3)]] void begin(const char *format, ...) {
        va_list arguments;
        va_start(arguments, format);
        length = static_cast<size_t>(vsnprintf(bytes.data(), bytes.size(), format, arguments));
        va_end(arguments);
    }
    void add_visible(std::string_view text) {
        length += host::make_visible(std::span{bytes}.subspan(length), text).size();
    }
    std::string_view view() const { return {bytes.data(), length}; }

    std::array<char, LINE_SIZE> bytes;
    size_t length = 0;
};

// One buffer for both ways out: this runs deep in every thread's stack.
void log_line(int level, std::string_view text) {
    timespec clock{};
    clock_gettime(CLOCK_REALTIME, &clock);
    tm now{};
    localtime_r(&clock.tv_sec, &now);
    char when[32];
    line_text line;
    mutex_guard hold(ends.lock);

    strftime(when, sizeof when, "%Y-%m-%d %H:%M:%S", &now);
    line.begin("%s.%03ld %s[%d] %d ", when, clock.tv_nsec / 1000000, log_identity.data(),
               host::own_pid(), level);
    line.add_visible(text);
    line.bytes[line.length++] = '\n';
    log_to_file(line.view());

    strftime(when, sizeof when, "%b %e %H:%M:%S", &now);
    line.begin("<%d>%s %s[%d]: ", LOG_DAEMON | severity(level), when, log_identity.data(),
               host::own_pid());
    line.add_visible(text);
    log_to_system(line.view());
}

} // namespace

void init_log_params(const char *identity) {
    if (identity != nullptr)
        snprintf(log_identity.data(), log_identity.size(), "%s", identity);
    reset_libcommlog_level();
}

void reset_libcommlog_level() {
    int level = 0;
    const bool is_level = host::read_setting_number("SYS_LOG_LEVEL", level) && level >= 0;
    admitted_level.store(is_level ? level : DEFAULT_LEVEL, std::memory_order_relaxed);
}

void savelog(int level, const char *format, ...) {
    if (format == nullptr || level > admitted_level.load(std::memory_order_relaxed))
        return;
    const int saved = errno;
    va_list arguments;
    va_start(arguments, format);
    const message given = format_message(format, arguments);
    va_end(arguments);

    log_line(level, {given.bytes.data(), given.length});
    errno = saved;
}
