// The lines that are appended to the log, across its rotation, each said once.
#pragma once

namespace log_follower {

// From the end that the log has now.
void begin();

// The log's folder says that something was written: says one line, since the log is written a line
// at a time, so that it stands where it belongs among other events.
void line_written();

// Whether there are lines for which no event has come yet. (One is on its way, or there was none:
// around a rotation, or when somebody has written several lines at once.)
bool has_more();

// Says all that is left.
void catch_up();

// The queue in which the folder is watched. It would make one event of several writes in a row; the
// file is watched beside its folder, so that no two events in a row are the same.
void watch_in(int queue);

// Called for the pid of every daemon that logs that it starts.
void on_daemon_start(void (*started)(int pid));

} // namespace log_follower
