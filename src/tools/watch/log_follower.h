// The lines that are appended to the log, across its rotation, each said once.
#pragma once

namespace log_follower {

// From the end that the log has now.
void begin();

// The queue in which the log's folder is watched. It would make one event of several writes in a
// row; the file is watched beside its folder, so that no two events in a row are the same. (What
// was written before the file could be watched, because it was new, is said at once.)
void watch_in(int queue);

// Whether WATCH is the log file's own, whose event stands for one line: the log is written a line
// at a time.
bool is_watch(int watch);

// Says one line, so that it stands where it belongs among other events.
void line_written();

// The log's folder has an event of it: follows it to another file.
void follow_file();

// Whether there are lines for which no event has come yet. (One is on its way, or there was none:
// around a rotation, or when somebody has written several lines at once.)
bool has_more();

// Says all that is left.
void catch_up();

// Called for the pid of every daemon that logs that it starts.
void on_daemon_start(void (*started)(int pid));

} // namespace log_follower
