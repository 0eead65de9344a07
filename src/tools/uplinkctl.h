// The sub-commands of uplinkctl that have a file of their own. Each takes the operands that follow
// its name and returns the exit status.
#pragma once

#include <span>

using operands = std::span<char *const>;

// Says what operands the command that runs takes; the exit status.
int wrong_operands();

// Prints what READ finds under NAME: nothing at all for no value, like devinfo.
int print_value(int (*read)(const char *name, char *buffer, int size), const char *name);

int listen_to_bus(operands given);
int explain_priority(operands given);
int show_status(operands given);
int watch_router(operands given);
int record_router(operands given);
int compare_recordings(operands given);
int show_log(operands given);
int show_batch(operands given);
int print_names(operands given);
int print_metrics(operands given); // with the build option UPLINKCTL_METRICS
