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

// A name beside PATH that nobody else knows in advance.
static text<64> name_beside(const char *path) {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    text<64> name;
    snprintf(name.data(), sizeof name.chars, "%s.%ld", path, now.tv_nsec);
    return name;
}

// Puts FRESH at PATH, whatever lies there. That is removed; only a folder that others have filled
// stays, under the other name.
static void put_in_place(const char *fresh, const char *path) {
    if (syscall(SYS_renameat2, AT_FDCWD, fresh, AT_FDCWD, path, EXCHANGE) != 0)
        rename(fresh, path);
    if (unlink(fresh) != 0)
        unlinkat(AT_FDCWD, fresh, AT_REMOVEDIR);
}

// ---- the folder

static int folder = -1; // while it is locked

static bool is_private(int opened) {
    struct stat status;
    return fstat(opened, &status) == 0 && status.st_uid == geteuid() &&
           (status.st_mode & MODE_BITS) == FOLDER_MODE;
}

static int open_folder() {
    for (int attempt = 0; attempt < ATTEMPTS; attempt++) {
        const int opened =
            openat(AT_FDCWD, GENERATED_FOLDER, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (opened >= 0 && is_private(opened))
            return opened;
        if (opened >= 0)
            close(opened);
        if (mkdir(GENERATED_FOLDER, FOLDER_MODE) == 0)
            continue;
        const text<64> fresh = name_beside(GENERATED_FOLDER);
        if (mkdir(fresh.c_str(), FOLDER_MODE) == 0)
            put_in_place(fresh.c_str(), GENERATED_FOLDER);
    }
    return -1;
}

generated_files_lock::generated_files_lock() : is_outermost(folder < 0) {
    if (is_outermost) {
        folder = open_folder();
        flock(folder, LOCK_EX);
    }
}

generated_files_lock::~generated_files_lock() {
    if (is_outermost) {
        close(folder);
        folder = -1;
    }
}

// ---- the names

// PATH is root's link to BYTES, as seen from /tmp, which may have another path for others.
static bool is_ours(const char *path, const text<64> &bytes) {
    const std::string_view target = generated_name(bytes.c_str());
    struct stat status;
    char found[64];
    return fstatat(AT_FDCWD, path, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode) &&
           status.st_uid == geteuid() &&
           readlink(path, found, sizeof found) == static_cast<ssize_t>(target.size()) &&
           target == std::string_view(found, target.size());
}

bool claim_generated(const char *path) {
    const text<64> bytes = generated_path(path);
    const char *target = generated_name(bytes.c_str());
    for (int attempt = 0; attempt < ATTEMPTS; attempt++) {
        if (is_ours(path, bytes) || symlink(target, path) == 0)
            return true;
        const text<64> fresh = name_beside(path);
        if (symlink(target, fresh.c_str()) == 0)
            put_in_place(fresh.c_str(), path);
    }
    return false;
}

void prepare_generated(const char *path) {
    const generated_files_lock hold;
    unlinkat(folder, generated_name(path), 0);
    claim_generated(path);
}

void reclaim_generated(const char *path) {
    const generated_files_lock hold;
    if (!is_ours(path, generated_path(path)) && unlinkat(folder, generated_name(path), 0) == 0)
        claim_generated(path);
}

void remove_generated(const char *path) {
    unlink(path);
}

// ---- the bytes

static int open_in_folder(const char *name, int flags, mode_t mode = 0) {
    return openat(folder, name, flags | O_WRONLY | O_CLOEXEC, mode);
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
    struct stat old;
    const mode_t mode = fstatat(folder, name, &old, 0) == 0 ? old.st_mode & MODE_BITS : FILE_MODE;
    int file = open_in_folder(FRESH_FILE, O_CREAT | O_TRUNC, mode);
    if (file < 0) // no room for another file
        file = open_in_folder(name, O_TRUNC);
    if (file < 0)
        return -1;
    const bool whole = append_whole(file, bytes);
    close(file);
    renameat(folder, FRESH_FILE, folder, name);
    return claim_generated(path) && whole ? 0 : -1;
}

int open_generated(const char *path) {
    const generated_files_lock hold;
    const char *name = generated_name(path);
    const int file = open_in_folder(name, O_APPEND);
    if (file >= 0 || errno != ENOENT || !claim_generated(path))
        return file;
    return open_in_folder(name, O_APPEND | O_CREAT, FILE_MODE);
}
