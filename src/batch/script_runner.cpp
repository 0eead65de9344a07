#include "batch/script_runner.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "base/text.h"
#include "platform/system.h"

static constexpr int EXECUTE_COMMAND_SIZE = 128;

void begin_batch(const char *owner) {
    write_script(TMP_SCRIPT, "# rewrite by %s", owner);
}

void run_batch(const char *owner) {
    uplinkd_script_execute(TMP_SCRIPT, owner);
}

// Something that only other programs could have put there: not ours to write into.
static bool is_foreign(const struct stat &file) {
    static const uid_t own_uid = geteuid();
    return !S_ISREG(file.st_mode) || file.st_uid != own_uid || file.st_nlink != 1;
}

static constexpr mode_t SCRIPT_MODE = 0644;
static constexpr mode_t SECRETS_MODE = 0600;
static constexpr mode_t EXECUTE_BITS = 0111;
static constexpr mode_t MODE_BITS = 07777;

// O_NONBLOCK, because a planted FIFO must not hold us up.
static constexpr int OPEN_FLAGS = O_WRONLY | O_APPEND | O_NONBLOCK | O_CLOEXEC;

// By openat, because in musl open makes a second system call of O_CLOEXEC.
static int open_to_append(const char *path, int more_flags, mode_t mode = 0) {
    return openat(AT_FDCWD, path, OPEN_FLAGS | more_flags, mode);
}

// Only root can put anything there, so a link, to a RAM disk for example, is root's own wish. It
// has to lead to where only root can put anything, too.
static bool is_secrets_file(const char *path) {
    return std::string_view(path).starts_with(SECRETS_FOLDER);
}

static bool is_private(const struct stat &file) {
    return (file.st_mode & MODE_BITS) == SECRETS_MODE;
}

// STATUS receives what the file is. A mode that is right stays untouched: the flash has enough to
// do.
static int open_secrets(const char *path, struct stat &status) {
    const int file = open_to_append(path, O_CREAT, SECRETS_MODE);
    if (file < 0)
        return -1;
    if (fstat(file, &status) == 0 && !is_foreign(status) &&
        (is_private(status) || fchmod(file, SECRETS_MODE) == 0))
        return file;
    close(file);
    return -1;
}

// What is as it should be is only looked at.
static int truncate_secrets(const char *path) {
    struct stat status;
    if (stat(path, &status) == 0 && !is_foreign(status) && is_private(status) &&
        status.st_size == 0)
        return 0;
    const int file = open_secrets(path, status);
    if (file < 0)
        return -1;
    const int result = status.st_size == 0 ? 0 : ftruncate(file, 0);
    close(file);
    return result;
}

// Appends all or, on a full disk, nothing: the beginning of a command is another command. SIZE is
// what the file has so far.
static bool append_whole(int file, std::string_view bytes, off_t size) {
    if (bytes.empty())
        return true;
    const ssize_t written = write(file, bytes.data(), bytes.size());
    if (written == static_cast<ssize_t>(bytes.size()))
        return true;
    [[maybe_unused]] const int undone = written > 0 ? ftruncate(file, size) : 0;
    return false;
}

static int create_file(const char *path, mode_t mode) {
    return open_to_append(path, O_CREAT | O_EXCL, mode);
}

using path_text = text<128>;

// A name beside PATH that nobody else knows in advance.
static path_text name_beside(const char *path, const char *what) {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    path_text name;
    snprintf(name.data(), sizeof name.chars, "%s.%s.%ld", path, what, now.tv_nsec);
    return name;
}

// Renames, also over a folder, which is removed, or moved aside if it is not empty.
static bool rename_over(const char *from, const char *path) {
    if (rename(from, path) == 0)
        return true;
    return errno == EISDIR &&
           (rmdir(path) == 0 || rename(path, name_beside(path, "aside").c_str()) == 0) &&
           rename(from, path) == 0;
}

// Puts a file of these BYTES in the place of whatever lies at PATH: a link, a FIFO, a folder,
// another user's file, or a script of ours that others may have kept open since it was writable for
// them. It takes over the execute bits of a script of ours, whose pppd may be about to run it; and
// it comes by rename, so that the name is never missing, nor free for somebody else to take. On a
// full disk it is empty, which counts as a failure.
static int replace_script(const char *path, std::string_view bytes) {
    struct stat old;
    const bool ours = lstat(path, &old) == 0 && !is_foreign(old);
    const path_text fresh = name_beside(path, "new");
    const int file =
        create_file(fresh.c_str(), SCRIPT_MODE | (ours ? old.st_mode & EXECUTE_BITS : 0));
    if (file < 0) {
        if (!ours)
            unlink(path); // nobody is to run it in our script's place
        return -1;
    }
    const bool whole = append_whole(file, bytes, 0);
    close(file);
    if (rename_over(fresh.c_str(), path))
        return whole ? 0 : -1;
    unlink(fresh.c_str());
    return -1;
}

int uplinkd_file_truncate(const char *path) {
    return is_secrets_file(path) ? truncate_secrets(path) : replace_script(path, {});
}

// Opens the file at PATH to append, or creates it. What is not ours alone is refused: it cannot
// hold the batch that has been written so far. Returns a descriptor, or -1; STATUS receives what
// the file is.
static int open_own(const char *path, struct stat &status) {
    int file = open_to_append(path, O_NOFOLLOW);
    if (file < 0 && errno == ENOENT)
        file = create_file(path, SCRIPT_MODE);
    if (file < 0)
        return -1;
    if (fstat(file, &status) == 0 && !is_foreign(status))
        return file;
    close(file);
    return -1;
}

static int append(const char *path, std::string_view bytes) {
    struct stat status;
    const int file = is_secrets_file(path) ? open_secrets(path, status) : open_own(path, status);
    if (file < 0)
        return -1;
    append_whole(file, bytes, status.st_size);
    close(file);
    return 0;
}

namespace {

struct line_text {
    text<MAX_LINE_SIZE> chars;
    size_t length = 0; // its newline included; 0 for a line that cannot be written

    std::string_view bytes() const { return {chars.c_str(), length}; }
};

} // namespace

[[gnu::format(printf, 1, 0)]] static line_text expand(const char *format, va_list args) {
    line_text line;
    const int length = vsnprintf(line.chars.data(), sizeof line.chars.chars, format, args);
    // A cut command could mean anything, so it is not written at all.
    if (length < 0 || length >= line.chars.size())
        return line;
    line.length = static_cast<size_t>(length) + 1;
    line.chars.chars[length] = '\n'; // in place of the NUL
    return line;
}

int uplinkd_file_append_line(const char *path, const char *format, ...) {
    if (path == nullptr || format == nullptr)
        return -1;
    va_list args;
    va_start(args, format);
    const line_text line = expand(format, args);
    va_end(args);
    return line.length > 0 ? append(path, line.bytes()) : -1;
}

int write_script_args(const char *path, const char *format, va_list args) {
    const line_text line = expand(format, args);
    const bool replaced = replace_script(path, line.bytes()) == 0;
    if (line.length == 0)
        return -1;
    // On a full disk there may be room where the old script was.
    return replaced ? 0 : append(path, line.bytes());
}

int write_script(const char *path, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int result = write_script_args(path, format, args);
    va_end(args);
    return result;
}

int uplinkd_script_execute(const char *path, const char *caller) {
    if (path == nullptr || caller == nullptr)
        return -1;
    if (uplinkd_file_append_line(path, "# executed by %s", caller) != 0)
        return -1;
    text<EXECUTE_COMMAND_SIZE> command;
    const int length = snprintf(command.data(), sizeof command.chars,
                                "chmod 777 %s && %s >/dev/null 2>&1", path, path);
    if (length >= command.size())
        return -1;
    return system_by_root(command.c_str());
}
