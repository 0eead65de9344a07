#include "platform/host/value_file.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "platform/host/files.h"

namespace host {

namespace {

constexpr mode_t VALUE_MODE = 0640;

// As many writers of one folder can be at work, or stopped half-way, at the same moment.
constexpr int SPARE_FILES = 1000;

// A locked, empty spare file and its path. The lock says that its writer lives, and goes with it.
struct spare_file {
    descriptor file{-1};
    path_text path{};
};

// Locks FILE, just opened; false unless it is then ours alone: still under its name, nothing else's
// twin.
bool take_over(int file, const char *path) {
    struct stat status = {};
    return flock(file, LOCK_EX | LOCK_NB) == 0 && fstat(file, &status) == 0 &&
           status.st_nlink == 1 && is_file_at(file, path);
}

// Whether opening a spare file failed because something else lies there, so that the next may do.
bool is_occupied(int error) {
    return error == EINVAL || error == ELOOP || error == EISDIR || error == ENXIO;
}

bool take_spare_file(spare_file &spare, const char *folder) {
    for (int number = 0; number < SPARE_FILES; number++) {
        char name[16];
        snprintf(name, sizeof name, ".new%d", number);
        spare.path = join_path(folder, name);
        spare.file.reset(
            open_regular(spare.path.data(), O_WRONLY | O_CREAT | O_NOFOLLOW, VALUE_MODE));
        if (spare.file < 0 && !is_occupied(errno))
            return false;
        if (spare.file >= 0 && take_over(spare.file, spare.path.data()))
            return ftruncate(spare.file, 0) == 0 && fchmod(spare.file, VALUE_MODE) == 0;
    }
    errno = EBUSY;
    return false;
}

int remove_value(const char *path) {
    return unlink(path) == 0 || errno == ENOENT ? 0 : -1;
}

} // namespace

int read_value(const char *folder, const char *name, char *buffer, int size) {
    if (buffer == nullptr || size <= 0)
        return -1;
    memset(buffer, 0, static_cast<size_t>(size));

    const descriptor file{open_regular(join_path(folder, name).data(), O_RDONLY | O_NOFOLLOW)};
    if (file < 0)
        return -1;
    const ssize_t length = read(file, buffer, static_cast<size_t>(size - 1));
    if (length <= 0)
        return -1;

    char after = '\0';
    if (buffer[length - 1] == '\n' && read(file, &after, 1) == 0)
        buffer[length - 1] = '\0';
    return buffer[0] != '\0' ? 0 : -1;
}

int write_value(const char *folder, const char *name, std::string_view value) {
    const path_text path = join_path(folder, name);
    if (value.empty())
        return remove_value(path.data());

    spare_file spare;
    if (!take_spare_file(spare, folder) &&
        !(errno == ENOENT && make_folders(folder) && take_spare_file(spare, folder)))
        return -1;
    if (write_all(spare.file, value) && rename(spare.path.data(), path.data()) == 0)
        return 0;
    unlink(spare.path.data());
    return -1;
}

} // namespace host
