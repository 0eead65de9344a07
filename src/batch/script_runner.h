// Batches: commands are gathered in one temporary script, which is then run once as root. The same
// file operations write the client scripts and the PPP secrets.
//
// A batch: truncate the script, append "# rewrite by <owner>", append the commands, execute. Only
// one batch may be built at a time; the handlers, which build them, never run concurrently.
//
// The files lie where other users may write. Truncating replaces whatever is not this program's
// alone (a link, a FIFO, a folder, another user's file), and appending to such a thing is refused,
// so nobody else's text is ever run, and nobody else's file written. Files are created 0644, those
// in SECRETS_FOLDER 0600, less what the umask takes away.
#pragma once

#include <sys/types.h>

inline constexpr const char *TMP_SCRIPT = "/tmp/.tmp_uplinkd_script";
#define SECRETS_FOLDER "/etc/ppp/"
// The header of a batch; its argument is the owner's name.
#define BATCH_HEADER   "# rewrite by %s"

// The longest line, or client script, that can be appended, its newline included, in bytes.
inline constexpr int MAX_LINE_SIZE = 4096;

// Empties the file, or creates it. Returns 0, or -1 if it cannot be opened.
int uplinkd_file_truncate(const char *path);

// Appends the expansion of FORMAT and one newline. Returns 0; -1 for an absent argument, a file
// that cannot be opened, or an expansion over MAX_LINE_SIZE, of which nothing is written.
[[gnu::format(printf, 2, 3)]] int uplinkd_file_append_line(const char *path, const char *format,
                                                           ...);

// Appends the trailer that names CALLER and runs the script as root. Returns the result of
// system_by_root, or -1 without running anything.
int uplinkd_script_execute(const char *path, const char *caller);
