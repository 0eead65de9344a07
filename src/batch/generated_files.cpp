#include "batch/generated_files.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

static constexpr mode_t FOLDER_MODE = 0700;
static constexpr mode_t FILE_MODE = 0644;
static constexpr mode_t MODE_BITS = 0777;

// What is being written is called so until it takes its place.
static constexpr const char *FRESH_FILE = ".new";

// RENAME_EXCHANGE of linux/fs.h (Linux 3.15): nothing can be renamed over a folder, but everything
// can change places with one.
static constexpr unsigned EXCHANGE = 2;

// Somebody who plants again and again what is being replaced loses in the end.
static constexpr int ATTEMPTS = 100;

static int folder = -1;          // while it is locked
static bool is_complete = false; // all files have been put in their places since

static bool look_at(const char *path, struct stat &status) {
    return fstatat(AT_FDCWD, path, &status, AT_SYMLINK_NOFOLLOW) == 0;
}

// Puts a link to TARGET at PATH, or without one a folder, in one step. What lies there is removed,
// but for a folder that others have filled: that stays, by another name. False where there is no
// room for both.
static bool replace_planted(const char *path, const char *target) {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    text<64> name; // that nobody else knows in advance
    snprintf(name.data(), sizeof name.chars, "%s.%ld", path, now.tv_nsec);
    const char *fresh = name.c_str();
    if ((target != nullptr ? symlink(target, fresh) : mkdir(fresh, FOLDER_MODE)) != 0)
        return false;
    syscall(SYS_renameat2, AT_FDCWD, fresh, AT_FDCWD, path, EXCHANGE);
    if (unlink(fresh) != 0)
        unlinkat(AT_FDCWD, fresh, AT_REMOVEDIR);
    return true;
}

// ---- the folder

static bool is_private(const struct stat &status) {
    return status.st_uid == geteuid() && (status.st_mode & MODE_BITS) == FOLDER_MODE;
}

// Opens and locks the folder, and sees to it that this is still the one of that name.
static int open_folder() {
    for (int attempt = 0; attempt < ATTEMPTS; attempt++) {
        const int opened =
            openat(AT_FDCWD, GENERATED_FOLDER, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        struct stat status, named;
        if (opened >= 0 && fstat(opened, &status) == 0 && is_private(status)) {
            flock(opened, LOCK_EX);
            if (look_at(GENERATED_FOLDER, named) && named.st_ino == status.st_ino)
                return opened;
        } else if (opened < 0 && errno == ENOENT) {
            mkdir(GENERATED_FOLDER, FOLDER_MODE);
        } else {
            replace_planted(GENERATED_FOLDER, nullptr);
        }
        close(opened);
    }
    return -1;
}

generated_files_lock::generated_files_lock() : is_outermost(folder < 0) {
    if (is_outermost) {
        folder = open_folder();
        is_complete = folder >= 0;
        unlinkat(folder, FRESH_FILE, 0); // of a process that was killed
    }
}

generated_files_lock::~generated_files_lock() {
    if (is_outermost) {
        close(folder);
        folder = -1;
    }
}

// ---- the names

// What the link at a name says, as seen from /tmp, which may have another path for others.
static text<64> link_text(const char *path) {
    text<64> target;
    snprintf(target.data(), sizeof target.chars, "%s/%s", generated_name(GENERATED_FOLDER),
             generated_name(path));
    return target;
}

// PATH is root's link to its bytes.
static bool is_ours(const char *path) {
    const text<64> target = link_text(path);
    struct stat status;
    text<64> found;
    return look_at(path, status) && status.st_uid == geteuid() &&
           readlink(path, found.data(), sizeof found.chars - 1) > 0 &&
           strcmp(found.c_str(), target.c_str()) == 0;
}

// Sees to it that PATH is.
static bool claim(const char *path) {
    const text<64> target = link_text(path);
    for (int attempt = 0; attempt < ATTEMPTS; attempt++) {
        if (symlink(target.c_str(), path) == 0 || is_ours(path))
            return true;
        if (!replace_planted(path, target.c_str()))
            unlink(path); // which makes room for one
    }
    is_complete = false;
    return false;
}

bool can_run_generated(const char *path) {
    return claim(path) && is_complete;
}

void prepare_generated(const char *path) {
    const generated_files_lock hold;
    unlinkat(folder, generated_name(path), 0);
    claim(path);
}

void reclaim_generated(const char *path) {
    const generated_files_lock hold;
    if (!is_ours(path))
        prepare_generated(path);
}

// ---- the bytes

static int open_in_folder(const char *name, int flags, mode_t mode = 0) {
    return openat(folder, name, flags | O_WRONLY | O_APPEND | O_CLOEXEC, mode);
}

bool append_whole(int file, std::string_view bytes) {
    const ssize_t written = write(file, bytes.data(), bytes.size());
    if (written == static_cast<ssize_t>(bytes.size()))
        return true;
    const off_t end = lseek(file, 0, SEEK_END);
    [[maybe_unused]] const int undone = written > 0 ? ftruncate(file, end - written) : 0;
    return false;
}

int replace_generated(const char *path, std::string_view bytes) {
    const generated_files_lock hold;
    const char *name = generated_name(path);
    const bool was_ours = is_ours(path);
    struct stat old;
    const mode_t mode =
        was_ours && fstatat(folder, name, &old, 0) == 0 ? old.st_mode & MODE_BITS : FILE_MODE;
    int file = open_in_folder(FRESH_FILE, O_CREAT, mode);
    const bool has_room = file >= 0;
    if (!has_room)
        file = open_in_folder(name, O_TRUNC);
    bool is_in_place = file >= 0 || errno == ENOENT; // nothing is left of the old one
    bool is_whole = append_whole(file, bytes);
    if (has_room)
        is_in_place = renameat(folder, FRESH_FILE, folder, name) == 0;
    is_whole = is_whole || append_whole(file, bytes); // with the old one's room
    close(file);
    is_complete = (was_ours || claim(path)) && is_in_place && is_complete;
    return is_complete && is_whole ? 0 : -1;
}

int open_generated(const char *path) {
    const generated_files_lock hold;
    if (hold.is_outermost) // otherwise a batch has claimed it already
        reclaim_generated(path);
    return open_in_folder(generated_name(path), O_CREAT, FILE_MODE);
}
