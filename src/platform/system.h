// Actions on the system itself.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Runs COMMAND with the shell and root rights, and returns after it has finished: its wait status
// as from system(3), or -1 if it was not run.
int system_by_root(const char *command);

// Asks the system to reboot, for REASON. Returns 0 when the request was accepted, -1 otherwise.
int util_does_system_opt_reboot(const char *reason);

#ifdef __cplusplus
}
#endif
