#include "platform/host/files.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace host {

namespace {

constexpr mode_t FOLDER_MODE = 0750;

// An entry as the kernel writes it.
struct directory_entry {
    uint64_t inode;
    int64_t offset;
    unsigned short length;
    unsigned char type;
    char name[1];
};

bool make_folder(const char *folder) {
    if (mkdir(folder, FOLDER_MODE) == 0)
        return chmod(folder, FOLDER_MODE) == 0;
    return errno == EEXIST;
}

} // namespace

path_text join_path(const char *folder, const char *name) {
    path_text path{};
    const int length = snprintf(path.data(), path.size(), "%s/%s", folder, name);
    if (length < 0 || static_cast<size_t>(length) >= path.size())
        path[0] = '\0';
    return path;
}

bool make_folders(const char *folder) {
    path_text path{};
    const size_t length = strlen(folder);
    if (length >= path.size())
        return false;
    memcpy(path.data(), folder, length);

    for (size_t i = 1; i <= length; i++) {
        if (path[i] != '/' && path[i] != '\0')
            continue;
        const char end = path[i];
        path[i] = '\0';
        if (!make_folder(path.data()))
            return false;
        path[i] = end;
    }
    return true;
}

// In musl, open would make a second system call of O_CLOEXEC.
int open_file(const char *path, int flags, unsigned mode) {
    return openat(AT_FDCWD, path, flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode);
}

int open_folder(const char *path) {
    return open_file(path, O_RDONLY | O_DIRECTORY);
}

int open_regular(const char *path, int flags, unsigned mode) {
    descriptor file{open_file(path, flags, mode)};
    if (file < 0)
        return -1;

    struct stat status = {};
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return -1;
    }
    const int opened = file;
    file.fd = -1;
    return opened;
}

int above_standard(int opened) {
    if (opened < 0 || opened > STDERR_FILENO)
        return opened;
    const descriptor low{opened};
    return fcntl(low, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
}

bool is_file_at(int fd, const char *path) {
    struct stat opened = {}, named = {};
    return fstat(fd, &opened) == 0 && look_at(path, named) && opened.st_dev == named.st_dev &&
           opened.st_ino == named.st_ino;
}

bool write_all(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

bool copy_rest(int from, int to) {
    char chunk[4096];
    for (;;) {
        const ssize_t length = read(from, chunk, sizeof chunk);
        if (length < 0 && errno == EINTR)
            continue;
        if (length <= 0)
            return length == 0;
        if (!write_all(to, {chunk, static_cast<size_t>(length)}))
            return false;
    }
}

bool lock_within(int fd, int milliseconds) {
    constexpr int STEP = 10;
    for (int waited = 0;; waited += STEP) {
        if (flock(fd, LOCK_EX | LOCK_NB) == 0)
            return true;
        if (errno != EWOULDBLOCK || waited >= milliseconds)
            return false;
        poll(nullptr, 0, STEP);
    }
}

bool take_number(std::string_view &text, unsigned &number) {
    uint64_t value = 0;
    size_t digits = 0;
    for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9'; digits++) {
        value = value * 10 + static_cast<unsigned>(text[digits] - '0');
        if (value > UINT32_MAX)
            return false;
    }
    text.remove_prefix(digits);
    number = static_cast<unsigned>(value);
    return digits > 0;
}

const char *next_name(name_reader &reader) {
    if (reader.at >= reader.filled) {
        reader.at = 0;
        reader.filled =
            syscall(SYS_getdents64, reader.fd, reader.entries.data(), reader.entries.size());
        if (reader.filled <= 0)
            return nullptr;
    }
    const char *entry = reader.entries.data() + reader.at;
    unsigned short length = 0;
    memcpy(&length, entry + offsetof(directory_entry, length), sizeof length);
    reader.at += length;
    return entry + offsetof(directory_entry, name);
}

} // namespace host
