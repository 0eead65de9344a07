// The daemon, its clients and the shells of its batches, followed to their ends by descriptors of
// their processes.
#pragma once

#include <poll.h>
#include <span>
#include <string_view>

namespace processes {

// What is running now.
void begin();

// Looks for all of them again, after events were lost.
void read_all();

// The daemon PID has started.
void daemon_started(int pid);

// The file NAME in /tmp has been written or removed: a client may have left its number there.
void file_changed(const char *name);

// The shell has been told to run the batch.
void batch_run();

// What poll() is to wait for besides, and what came of it.
std::span<pollfd> to_wait_for();
void look_at(std::span<const pollfd> waited_for);

} // namespace processes
