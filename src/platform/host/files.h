// Files and folders, handled so that nothing found in place of a regular file can block or mislead.
// Any thread may call anything here; a name_reader belongs to one thread.
#pragma once

#include <array>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace host {

// A file descriptor that closes itself and leaves errno alone.
struct descriptor {
    explicit descriptor(int opened) : fd(opened) {}
    descriptor(const descriptor &) = delete;
    descriptor &operator=(const descriptor &) = delete;
    ~descriptor() { reset(-1); }

    operator int() const { return fd; }
    void reset(int opened) {
        const int saved = errno;
        if (fd >= 0)
            close(fd);
        fd = opened;
        errno = saved;
    }

    int fd;
};

// FOLDER/NAME, zero-terminated; the empty text when that would not fit.
using path_text = std::array<char, 320>;
path_text join_path(const char *folder, const char *name);

// Makes FOLDER and what is missing above it, each mode 0750 whatever the umask.
bool make_folders(const char *folder);

// Opens PATH with FLAGS, close-on-exec and without ever waiting for a FIFO's other end. Symbolic
// links are followed unless FLAGS say no. Returns a descriptor, or -1.
int open_file(const char *path, int flags, unsigned mode = 0);

int open_folder(const char *path);

// The same as open_file; -1 with errno EINVAL for anything but a regular file.
int open_regular(const char *path, int flags, unsigned mode = 0);

// Moves a descriptor just opened out of the way of standard input, output and error, which a
// process may have been started without; -1, the descriptor closed, where that fails.
int above_standard(int opened);

// What lies at PATH, links not followed.
inline bool look_at(const char *path, struct stat &status) {
    return fstatat(AT_FDCWD, path, &status, AT_SYMLINK_NOFOLLOW) == 0;
}

// Whether PATH itself, not what it may link to, still names the open file FD.
bool is_file_at(int fd, const char *path);

bool write_all(int fd, std::string_view bytes);

// Copies what is left of FROM to TO.
bool copy_rest(int from, int to);

// Takes the exclusive lock of an open file; gives up after about MILLISECONDS, so that a stopped
// holder stops nobody else for ever.
bool lock_within(int fd, int milliseconds);

// Takes the decimal number at the start of TEXT off it; false where there is none of 32 bits. (The
// C++ library's own brings tables along.)
bool take_number(std::string_view &text, unsigned &number);

// The names in the open folder FD one by one, nullptr at the end; opendir would allocate.
struct name_reader {
    explicit name_reader(int folder) : fd(folder) {}

    int fd;
    long filled = 0;
    long at = 0;
    alignas(8) std::array<char, 2048> entries{};
};
const char *next_name(name_reader &reader);

} // namespace host
