// Batches: commands are gathered in one temporary script, which is then run once as root. The same
// file operations write the client scripts and the PPP secrets.
//
// A batch: a `batch`, any number of lines appended to TMP_SCRIPT, then run(). The handlers, which
// build them, never run concurrently; another daemon, of a restart that overlaps, waits.
//
// The scripts are generated files (generated_files.h), made 0644, less what the umask takes away,
// and keep the mode that a batch has given them. The secrets are 0600; SECRETS_FOLDER is root's
// own, so a link there is followed, to a file of this program's user or a new one.
#pragma once

#include <cstdarg>

#include "batch/generated_files.h"

inline constexpr const char *TMP_SCRIPT = "/tmp/.tmp_uplinkd_script";
#define SECRETS_FOLDER "/etc/ppp/"

// The longest line, or client script, that can be appended, its newline included, in bytes.
inline constexpr int MAX_LINE_SIZE = 4096;

// A batch that is being built by OWNER, the function that it names in the header and at its end. As
// long as it lives no other process builds or runs one.
struct batch {
    explicit batch(const char *owner);

    void run();

    const char *const owner;
    const generated_files_lock lock;
};

// Empties the file, or creates it. Returns 0, or -1 if it cannot be opened.
int uplinkd_file_truncate(const char *path);

// Appends the expansion of FORMAT and one newline. Returns 0; -1 for an absent argument, a file
// that cannot be opened, or an expansion over MAX_LINE_SIZE, of which nothing is written.
[[gnu::format(printf, 2, 3)]] int uplinkd_file_append_line(const char *path, const char *format,
                                                           ...);

// Truncates the script at PATH and appends one line, in a single step. An expansion over
// MAX_LINE_SIZE leaves the script empty.
[[gnu::format(printf, 2, 0)]] int write_script(const char *path, const char *format, va_list args);

// Appends the trailer that names CALLER and runs the script as root. Returns the result of
// system_by_root, or -1 without running anything.
int uplinkd_script_execute(const char *path, const char *caller);
