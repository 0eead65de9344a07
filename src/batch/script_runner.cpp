#include "batch/script_runner.h"

#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "base/text.h"
#include "batch/generated_files.h"
#include "platform/system.h"

static constexpr int EXECUTE_COMMAND_SIZE = 128;

batch::batch(const char *given_owner) : owner(given_owner) {
    text<64> header;
    snprintf(header.data(), sizeof header.chars, "# rewrite by %s\n", owner);
    replace_generated(TMP_SCRIPT, header.c_str());
}

void batch::run() {
    uplinkd_script_execute(TMP_SCRIPT, owner);
}

// ---- the secrets

// Something that only other programs could have put there: not ours to write into.
static bool is_foreign(const struct stat &file) {
    static const uid_t own_uid = geteuid();
    return !S_ISREG(file.st_mode) || file.st_uid != own_uid || file.st_nlink != 1;
}

static constexpr mode_t SECRETS_MODE = 0600;
static constexpr mode_t MODE_BITS = 07777;

// By openat, because in musl open makes a second system call of O_CLOEXEC. What is no file must not
// hold us up.
static int open_to_append(const char *path, int more_flags, mode_t mode = 0) {
    return openat(AT_FDCWD, path, O_WRONLY | O_APPEND | O_NONBLOCK | O_CLOEXEC | more_flags, mode);
}

static bool is_private(const struct stat &file) {
    return (file.st_mode & MODE_BITS) == SECRETS_MODE;
}

// Only root can put anything into their folder, so a link there, to a RAM disk for example, is
// root's own wish; it has to lead to where only root can put anything, too. STATUS receives what
// the file is. A mode that is right stays untouched: the flash has enough to do.
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
    if (fstatat(AT_FDCWD, path, &status, 0) == 0 && !is_foreign(status) && is_private(status) &&
        status.st_size == 0)
        return 0;
    const int file = open_secrets(path, status);
    if (file < 0)
        return -1;
    const int result = status.st_size == 0 ? 0 : ftruncate(file, 0);
    close(file);
    return result;
}

// ---- the operations

int uplinkd_file_truncate(const char *path) {
    return is_generated(path) ? replace_generated(path, {}) : truncate_secrets(path);
}

static int append(const char *path, std::string_view bytes) {
    struct stat status;
    const int file = is_generated(path) ? open_generated(path) : open_secrets(path, status);
    if (file < 0)
        return -1;
    append_whole(file, bytes);
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

int write_script(const char *path, const char *format, va_list args) {
    const line_text line = expand(format, args);
    const int result = replace_generated(path, line.bytes());
    return line.length > 0 ? result : -1;
}

int uplinkd_script_execute(const char *path, const char *caller) {
    if (path == nullptr || caller == nullptr)
        return -1;
    if (uplinkd_file_append_line(path, "# executed by %s", caller) != 0)
        return -1;
    if (is_generated(path) && !can_run_generated(path))
        return -1;
    text<EXECUTE_COMMAND_SIZE> command;
    const int length = snprintf(command.data(), sizeof command.chars,
                                "chmod 777 %s && %s >/dev/null 2>&1", path, path);
    if (length >= command.size())
        return -1;
    return system_by_root(command.c_str());
}
