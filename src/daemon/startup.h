// What happens once, before the daemon only waits for messages.
#pragma once

// Registers on the bus, waits for the configuration daemon and the LAN manager, and evaluates the
// WAN mode for the first time. Returns 0 in every case.
int uplinkd_init();

// Returns when the LAN manager has reported that its start-up is complete; lasts 3 s or more.
void uplinkd_wait_downlinkd_init_completed();
