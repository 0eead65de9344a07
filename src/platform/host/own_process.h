// What a process or thread asks of the kernel about itself once, and again after a fork.
#pragma once

#include <sys/types.h>

namespace host {

pid_t own_pid();

// The number of the calling thread; the first one has the number of its process.
pid_t own_tid();

// The number of the process's PID namespace (an inode of 32 bits); 0 where /proc is
// missing. Leaves errno alone.
unsigned own_pid_namespace();

} // namespace host
