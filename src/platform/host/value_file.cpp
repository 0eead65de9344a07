#include "platform/host/value_file.h"

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

#include "platform/host/files.h"
#include "platform/host/own_process.h"
#include "platform/log.h"

namespace host {

namespace {

constexpr mode_t VALUE_MODE = 0640;
constexpr std::string_view SPARE_PREFIX = ".new-";

// The spare file of the calling thread in FOLDER: its name is no other living thread's, in whatever
// PID namespace that is.
path_text own_spare_file(const char *folder) {
    char name[48];
    snprintf(name, sizeof name, "%s%u-%d", SPARE_PREFIX.data(), own_pid_namespace(), own_tid());
    return join_path(folder, name);
}

// Whether NAME is that of a spare file whose writer, of our namespace, is no more.
bool is_left_behind(std::string_view name) {
    unsigned pid_namespace = 0, writer = 0;
    if (!name.starts_with(SPARE_PREFIX))
        return false;
    name.remove_prefix(SPARE_PREFIX.size());
    return take_number(name, pid_namespace) && pid_namespace > 0 &&
           pid_namespace == own_pid_namespace() && name.starts_with('-') &&
           (name.remove_prefix(1), take_number(name, writer)) && name.empty() && writer > 0 &&
           writer <= INT_MAX && kill(static_cast<pid_t>(writer), 0) != 0 && errno == ESRCH;
}

void remove_what_was_left_behind(const char *path) {
    const descriptor folder{open_folder(path)};
    if (folder < 0)
        return;
    name_reader names{folder};
    while (const char *name = next_name(names))
        if (is_left_behind(name))
            unlinkat(folder, name, 0);
}

// What lies there was left behind by a thread of the same number, which is no more; but where
// namespaces cannot be told it may be another's.
int create_spare_file(const char *path) {
    constexpr int FLAGS = O_WRONLY | O_CREAT | O_EXCL;
    const int file = open_file(path, FLAGS, VALUE_MODE);
    if (file >= 0 || errno != EEXIST || own_pid_namespace() == 0)
        return file;
    return unlink(path) == 0 ? open_file(path, FLAGS, VALUE_MODE) : -1;
}

// What a process does at its first write to a folder, FILE being the spare file of it.
void get_acquainted(value_folder &folder, int file) {
    struct stat status = {};
    folder.needs_mode = fstat(file, &status) != 0 || (status.st_mode & 0777) != VALUE_MODE;
    remove_what_was_left_behind(folder.path);
    folder.known_to = own_pid();
}

bool fill(value_folder &folder, int file, std::string_view value) {
    if (folder.known_to != own_pid())
        get_acquainted(folder, file);
    return (!folder.needs_mode || fchmod(file, VALUE_MODE) == 0) && write_all(file, value);
}

bool replace_value(value_folder &folder, const char *path, std::string_view value) {
    const path_text spare = own_spare_file(folder.path);
    descriptor file{create_spare_file(spare.data())};
    if (file < 0 && errno == ENOENT && make_folders(folder.path))
        file.reset(create_spare_file(spare.data()));
    if (file < 0)
        return false;
    const bool filled = fill(folder, file, value);
    file.reset(-1);
    if (filled && rename(spare.data(), path) == 0)
        return true;
    const int error = errno;
    unlink(spare.data());
    errno = error;
    return false;
}

bool remove_value(const char *path) {
    return unlink(path) == 0 || errno == ENOENT;
}

} // namespace

int read_value(const value_folder &folder, const char *name, char *buffer, int size) {
    if (buffer == nullptr || size <= 0)
        return -1;
    const auto room = static_cast<size_t>(size);
    memset(buffer, 0, room);

    const descriptor file{open_file(join_path(folder.path, name).data(), O_RDONLY | O_NOFOLLOW)};
    if (file < 0)
        return -1;
    // From files alone; a byte more than the value may have here tells whether this is its end.
    const ssize_t length = pread(file, buffer, room, 0);
    if (length <= 0)
        return -1;
    const auto taken = static_cast<size_t>(length);
    if (taken == room || buffer[taken - 1] == '\n')
        buffer[taken - 1] = '\0';
    return buffer[0] != '\0' ? 0 : -1;
}

int write_value(value_folder &folder, const char *name, std::string_view value) {
    const path_text path = join_path(folder.path, name);
    const auto store = [&] {
        return value.empty() ? remove_value(path.data())
                             : replace_value(folder, path.data(), value);
    };
    // A new thread's spare file may be taken for that of its number's last owner, and be removed.
    if (store() || (errno == ENOENT && store())) {
        // What is removed needs no room.
        if (!value.empty() && folder.is_failing.exchange(false))
            savelog(0, "can store in %s again", folder.path);
        return 0;
    }
    // A folder in the place of one value says nothing about the others.
    if (errno == EISDIR || !folder.is_failing.exchange(true))
        savelog(0, "cannot store %s: %s", path.data(), strerror(errno));
    return -1;
}

} // namespace host
