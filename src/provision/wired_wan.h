// Brings all enabled wired WANs up, or takes them down, in one batch.
#pragma once

// Return 0 after the batch has run, -1 for an invalid number of sub-ports.
int uplinkd_process_wired_up(int wan_mode);
// In WAN mode 7 the addresses survive, on the interface and in the items.
int uplinkd_process_wired_down(int wan_mode);
