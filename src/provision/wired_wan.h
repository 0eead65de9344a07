// Brings all enabled wired WANs up, or takes them down, in one batch.
#pragma once

// WAN_MODE is one of the wired modes. Return 0.
int uplinkd_process_wired_up(int wan_mode);
// In WAN mode 7 the items keep the addresses, and the interface its IPv4 ones.
int uplinkd_process_wired_down(int wan_mode);

// A PPP link's down script removes a pid file that the next one will read: until that is written
// the name is not to be anybody else's.
void reclaim_pid_files();
