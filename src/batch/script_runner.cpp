#include "batch/script_runner.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/text.h"
#include "platform/system.h"

static constexpr int EXECUTE_COMMAND_SIZE = 128;

void begin_batch(const char *owner) {
    uplinkd_file_truncate(TMP_SCRIPT);
    uplinkd_file_append_line(TMP_SCRIPT, "# rewrite by %s", owner);
}

void run_batch(const char *owner) {
    uplinkd_script_execute(TMP_SCRIPT, owner);
}

// Something that only other programs could have put there: not ours to write into.
static bool is_foreign(const struct stat &file) {
    return !S_ISREG(file.st_mode) || file.st_uid != geteuid() || file.st_nlink != 1;
}

static constexpr mode_t SCRIPT_MODE = 0644;
static constexpr mode_t SECRETS_MODE = 0600;
static constexpr mode_t EXECUTE_BITS = 0111;

// O_NONBLOCK, because a planted FIFO must not hold us up.
static constexpr int OPEN_FLAGS = O_WRONLY | O_APPEND | O_NONBLOCK | O_CLOEXEC;

// Only root can put anything there, so a link, to a RAM disk for example, is root's own wish.
static bool is_secrets_file(const char *path) {
    return strncmp(path, SECRETS_FOLDER, strlen(SECRETS_FOLDER)) == 0;
}

static int open_secrets(const char *path) {
    const int file = open(path, OPEN_FLAGS | O_CREAT, SECRETS_MODE);
    struct stat status;
    if (file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
        fchmod(file, SECRETS_MODE) == 0)
        return file;
    if (file >= 0)
        close(file);
    return -1;
}

static int create_file(const char *path, mode_t mode = SCRIPT_MODE) {
    return open(path, OPEN_FLAGS | O_CREAT | O_EXCL, mode);
}

// A folder in the way is removed, or moved aside if it is not empty.
static bool clear_away_folder(const char *path) {
    if (rmdir(path) == 0)
        return true;
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    text<128> aside;
    snprintf(aside.data(), sizeof aside.chars, "%s.aside.%ld", path, now.tv_nsec);
    return rename(path, aside.c_str()) == 0;
}

// Opens the file at PATH, or a new one in the place of anything that is not ours alone: a link, a
// FIFO, a folder, another user's file, or one that others may write, who may have kept it open
// since the last batch. A script of ours stays executable: its pppd may be about to run it.
// Returns a descriptor, or -1.
static int open_replacing(const char *path) {
    int file = create_file(path);
    if (file >= 0)
        return file;
    file = open(path, OPEN_FLAGS | O_NOFOLLOW);
    if (file < 0 && errno != ELOOP && errno != ENXIO && errno != EACCES && errno != EISDIR)
        return -1; // out of descriptors, for example: no reason to remove anything
    mode_t mode = SCRIPT_MODE;
    if (file >= 0) {
        struct stat status;
        if (fstat(file, &status) == 0 && !is_foreign(status)) {
            mode |= status.st_mode & EXECUTE_BITS;
            if ((status.st_mode & 0777 & ~mode) == 0)
                return file;
        }
        close(file);
    }
    if (unlink(path) != 0 && !(errno == EISDIR && clear_away_folder(path)))
        return -1;
    return create_file(path, mode);
}

// Opens the file at PATH to append, or creates it. What is not ours alone is refused: it cannot
// hold the batch that has been written so far. Returns a descriptor, or -1.
static int open_own(const char *path) {
    int file = create_file(path);
    if (file >= 0)
        return file;
    file = open(path, OPEN_FLAGS | O_NOFOLLOW);
    if (file < 0)
        return -1;
    struct stat status;
    if (fstat(file, &status) == 0 && !is_foreign(status))
        return file;
    close(file);
    return -1;
}

int uplinkd_file_truncate(const char *path) {
    const int file = is_secrets_file(path) ? open_secrets(path) : open_replacing(path);
    if (file < 0)
        return -1;
    const int result = ftruncate(file, 0);
    close(file);
    return result;
}

// Appends all or, on a full disk, nothing: the beginning of a command is another command.
static void append_whole(int file, const char *data, size_t length) {
    struct stat before;
    if (fstat(file, &before) != 0)
        return;
    const ssize_t written = write(file, data, length);
    if (written >= 0 && static_cast<size_t>(written) < length &&
        ftruncate(file, before.st_size) != 0)
        return; // nothing more can be done about it
}

static int append(const char *path, const char *data, int length) {
    const int file = is_secrets_file(path) ? open_secrets(path) : open_own(path);
    if (file < 0)
        return -1;
    append_whole(file, data, static_cast<size_t>(length));
    close(file);
    return 0;
}

int uplinkd_file_append_line(const char *path, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int result = file_append_line_args(path, format, args);
    va_end(args);
    return result;
}

int file_append_line_args(const char *path, const char *format, va_list args) {
    if (path == nullptr || format == nullptr)
        return -1;
    text<MAX_LINE_SIZE> line;
    const int length = vsnprintf(line.data(), sizeof line.chars, format, args);
    // A cut command could mean anything, so it is not written at all.
    if (length < 0 || length >= line.size())
        return -1;
    line.chars[length] = '\n'; // in place of the NUL
    return append(path, line.c_str(), length + 1);
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
