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

// Only root can put anything there, so a link, to a RAM disk for example, is root's own wish. It
// has to lead to where only root can put anything, too.
static bool is_secrets_file(const char *path) {
    return strncmp(path, SECRETS_FOLDER, strlen(SECRETS_FOLDER)) == 0;
}

static int open_secrets(const char *path) {
    const int file = open(path, OPEN_FLAGS | O_CREAT, SECRETS_MODE);
    struct stat status;
    if (file >= 0 && fstat(file, &status) == 0 && !is_foreign(status) &&
        fchmod(file, SECRETS_MODE) == 0)
        return file;
    if (file >= 0)
        close(file);
    return -1;
}

static int truncate_secrets(const char *path) {
    const int file = open_secrets(path);
    if (file < 0)
        return -1;
    const int result = ftruncate(file, 0);
    close(file);
    return result;
}

static int create_file(const char *path, mode_t mode) {
    return open(path, OPEN_FLAGS | O_CREAT | O_EXCL, mode);
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

// Puts an empty file in the place of whatever lies at PATH: a link, a FIFO, a folder, another
// user's file, or a script of ours that others may have kept open since it was writable for them.
// It takes over the execute bits of a script of ours, whose pppd may be about to run it; and it
// comes by rename, so that the name is never missing, nor free for somebody else to take.
static int replace_script(const char *path) {
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
    close(file);
    if (rename_over(fresh.c_str(), path))
        return 0;
    unlink(fresh.c_str());
    return -1;
}

int uplinkd_file_truncate(const char *path) {
    return is_secrets_file(path) ? truncate_secrets(path) : replace_script(path);
}

// Opens the file at PATH to append, or creates it. What is not ours alone is refused: it cannot
// hold the batch that has been written so far. Returns a descriptor, or -1.
static int open_own(const char *path) {
    int file = create_file(path, SCRIPT_MODE);
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
