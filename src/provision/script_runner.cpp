#include "provision/script_runner.h"

#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/text.h"
#include "platform/system.h"

static constexpr int EXECUTE_COMMAND_SIZE = 128;

// A path that only other programs could have put there: not ours to write into.
static bool is_foreign(const struct stat &file) {
    return !S_ISREG(file.st_mode) || file.st_uid != geteuid() || file.st_nlink != 1;
}

static bool others_may_write(const struct stat &file) {
    return (file.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

static int create_anew(const char *path) {
    if (unlink(path) != 0)
        return -1;
    return open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
}

// A file to append to: the one at PATH if it is ours alone, a new one in its place otherwise. With
// ANEW, a file that others may write to is replaced as well, so that whoever kept it open since
// the last batch writes into a dead inode. Returns a descriptor, or -1.
static int open_own_file(const char *path, bool anew) {
    // O_NONBLOCK, because a planted FIFO must not hold us up.
    const int flags = O_WRONLY | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    int file = open(path, flags | O_CREAT | O_EXCL, 0666);
    if (file >= 0)
        return file;
    file = open(path, flags);
    if (file < 0)
        return create_anew(path);
    struct stat status;
    if (fstat(file, &status) == 0 && !is_foreign(status) && !(anew && others_may_write(status)))
        return file;
    close(file);
    return create_anew(path);
}

int uplinkd_file_truncate(const char *path) {
    const int file = open_own_file(path, true);
    if (file < 0)
        return -1;
    const int result = ftruncate(file, 0);
    close(file);
    return result;
}

static void write_all(int file, const char *data, size_t length) {
    while (length > 0) {
        const ssize_t written = write(file, data, length);
        if (written <= 0)
            return;
        data += written;
        length -= static_cast<size_t>(written);
    }
}

// The outcome of the write itself is not examined: a full disk loses the line, as it would any.
static int append(const char *path, const char *data, int length) {
    const int file = open_own_file(path, false);
    if (file < 0)
        return -1;
    write_all(file, data, static_cast<size_t>(length));
    close(file);
    return 0;
}

int uplinkd_file_append_line(const char *path, const char *format, ...) {
    if (path == nullptr || format == nullptr)
        return -1;
    text<MAX_LINE_SIZE> line;
    va_list args;
    va_start(args, format);
    const int length = vsnprintf(line.data(), sizeof line.chars, format, args);
    va_end(args);
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
