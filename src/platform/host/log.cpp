// The log file and the system's log. A line is composed on the caller's stack and appended in one
// write, so threads and processes need no lock among themselves; only who rotates the file holds
// the file's own lock, and who finds it taken just appends. A log that cannot be written is silent:
// nothing here ever waits.
#include "platform/log.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>

#include "platform/host/files.h"
#include "platform/host/log_text.h"
#include "platform/host/places.h"
#include "platform/host/setting_number.h"

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

// Appends LINE to the log file; false when it is full and must be rotated first.
bool append(std::string_view line, int file) {
    struct stat status = {};
    if (fstat(file, &status) != 0)
        return true;
    if (status.st_size > 0 && status.st_size + static_cast<off_t>(line.size()) > ROTATION_SIZE)
        return false;
    host::write_all(file, line);
    return true;
}

int open_log() {
    constexpr int FLAGS = O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW;
    const int file = host::open_regular(host::LOG_FILE, FLAGS, LOG_MODE);
    if (file < 0 && errno == ENOENT && host::make_folders(host::LOG_FOLDER))
        return host::open_regular(host::LOG_FILE, FLAGS, LOG_MODE);
    return file;
}

// Two processes may find the file full at once: the lock and the second look keep the slower one
// from rotating the file that the faster one has just begun.
void rotate(int file) {
    if (flock(file, LOCK_EX | LOCK_NB) == 0 && host::is_file_at(file, host::LOG_FILE))
        rename(host::LOG_FILE, host::OLD_LOG_FILE);
}

void log_to_file(std::string_view line) {
    host::descriptor file{open_log()};
    if (file < 0 || append(line, file))
        return;
    rotate(file);
    file.reset(open_log());
    if (file >= 0)
        host::write_all(file, line);
}

int severity(int level) {
    if (level <= 0)
        return LOG_NOTICE;
    return level <= 2 ? LOG_INFO : LOG_DEBUG;
}

// Sends to the system's log without syslog(3), which waits for a logger that has stopped reading.
void log_to_system(int level, const tm &now, std::string_view text) {
    char line[LINE_SIZE];
    char when[32];
    strftime(when, sizeof when, "%b %e %H:%M:%S", &now);
    const int length =
        snprintf(line, sizeof line, "<%d>%s %s[%d]: %.*s", LOG_DAEMON | severity(level), when,
                 log_identity.data(), getpid(), static_cast<int>(text.size()), text.data());

    const sockaddr_un logger{AF_UNIX, "/dev/log"};
    const host::descriptor sender{socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    if (sender >= 0 && length > 0)
        sendto(sender, line, static_cast<size_t>(length), MSG_DONTWAIT | MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr *>(&logger), sizeof logger);
}

void log_line(int level, std::string_view text) {
    timespec clock{};
    clock_gettime(CLOCK_REALTIME, &clock);
    tm now{};
    localtime_r(&clock.tv_sec, &now);

    char when[32];
    strftime(when, sizeof when, "%Y-%m-%d %H:%M:%S", &now);
    char line[LINE_SIZE];
    const int length =
        snprintf(line, sizeof line, "%s.%03ld %s[%d] %d %.*s\n", when, clock.tv_nsec / 1000000,
                 log_identity.data(), getpid(), level, static_cast<int>(text.size()), text.data());
    if (length > 0)
        log_to_file({line, static_cast<size_t>(length)});
    log_to_system(level, now, text);
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

    std::array<char, 4 * MESSAGE_SIZE> visible;
    log_line(level, host::make_visible(visible, {given.bytes.data(), given.length}));
    errno = saved;
}
