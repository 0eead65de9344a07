// The files that this program generates and that others, which run as root, know by names in /tmp:
// the batch, the clients' scripts and their pid files.
//
// In /tmp every user may plant what he likes, and the scripts are made writable for all. So only
// the names lie there, as links of root's to files in a folder that nobody else can enter. What
// others have planted at a name is replaced when the name is next used here; a link of root's
// cannot be taken away by them, because /tmp is sticky.
//
// A name that a client or a script removes is free until it is claimed again. What is planted there
// in the meantime is kept from clients by the kernel, where fs.protected_symlinks, _hardlinks,
// _fifos and _regular are on.
#pragma once

#include <cstdio>
#include <string_view>

#include "base/text.h"

#define GENERATED_NAMES  "/tmp/"
#define GENERATED_FOLDER GENERATED_NAMES ".uplinkd"

inline bool is_generated(const char *path) {
    return std::string_view(path).starts_with(GENERATED_NAMES);
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
struct generated_files_lock {
    generated_files_lock();
    generated_files_lock(const generated_files_lock &) = delete;
    generated_files_lock &operator=(const generated_files_lock &) = delete;
    ~generated_files_lock();

    const bool is_outermost;
};

// Puts a file of these BYTES in the place of the one known as PATH. Who is reading that one reads
// it to its end, and its mode is kept. Returns 0; -1 where the bytes could not be written, which
// leaves it empty, or where the name could not be claimed.
int replace_generated(const char *path, std::string_view bytes);

// Opens the file to append, or creates it. Returns a descriptor, or -1.
int open_generated(const char *path);

// Sees to it that PATH leads to the bytes and to nothing else. False where it does not.
bool claim_generated(const char *path);

// Claims the name of a file that a client is to write; there are no bytes yet.
void prepare_generated(const char *path);

// Claims the name of such a file again if somebody has removed it since, and with it the bytes.
void reclaim_generated(const char *path);

// Removes the name, whatever file lies there.
void remove_generated(const char *path);

// Appends all or, on a full disk, nothing: the beginning of a command is another command.
bool append_whole(int file, std::string_view bytes);
