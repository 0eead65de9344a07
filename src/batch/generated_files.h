// The files that this program generates and that others, which run as root, know by names in /tmp:
// the batch, the clients' scripts and their pid files.
//
// In /tmp every user may plant what he likes, and the scripts are made writable for all. So only
// the names lie there, as links of root's to files in a folder that nobody else can enter. What
// others have planted at a name is replaced when the name is next used here; a link of root's
// cannot be taken away by them, because /tmp is sticky.
//
// A name that a client or a script removes is free until it is claimed again. What is planted there
// in the meantime is kept from clients that write it by the kernel, where fs.protected_symlinks,
// _hardlinks, _fifos and _regular are on; a script that reads it gets what it holds.
#pragma once

#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/text.h"

#define GENERATED_NAMES  "/tmp/"
#define GENERATED_FOLDER GENERATED_NAMES ".uplinkd"

inline bool is_generated(const char *path) {
    return strncmp(path, GENERATED_NAMES, sizeof GENERATED_NAMES - 1) == 0;
}

// What a generated file is called, in /tmp and in the folder.
inline const char *generated_name(const char *path) {
    return path + sizeof GENERATED_NAMES - 1;
}

// Where its bytes are.
inline text<64> generated_path(const char *path) {
    text<64> own;
    snprintf(own.data(), sizeof own.chars, "%s/%s", GENERATED_FOLDER, generated_name(path));
    return own;
}

// As long as it lives, no other process changes the files. It may be taken within another one.
// Where there can be no folder it holds nothing, and all operations fail.
struct generated_files_lock {
    generated_files_lock();
    generated_files_lock(const generated_files_lock &) = delete;
    generated_files_lock &operator=(const generated_files_lock &) = delete;
    ~generated_files_lock();

    const bool is_outermost;
};

// Puts a file of these BYTES in the place of the one known as PATH, whose mode is kept but for what
// the umask takes away. Who is reading that one reads it to its end, unless there is no room for
// two. Returns 0; -1 where the bytes could not be written, which leaves it empty, or where it could
// not be put in its place.
int replace_generated(const char *path, std::string_view bytes);

// Opens the file to append, or creates it. Returns a descriptor, or -1.
int open_generated(const char *path);

// Sees to it that PATH leads to its bytes. False where it does not, or where another file could not
// be put in its place since the lock was taken: root is not to run what lies there instead.
bool can_run_generated(const char *path);

// Removes the bytes that a client may have written and claims the name, for the next one.
void prepare_generated(const char *path);

// Does so if somebody has removed the name, or put something there.
void reclaim_generated(const char *path);

// Appends all or, on a full disk, nothing: the beginning of a command is another command.
bool append_whole(int file, std::string_view bytes);
