// Whether each uplink of the configured WAN mode is connected at the IP level.
#pragma once

// Recomputes the connection-status items, unless link detection keeps them. Returns 0.
int uplinkd_update_connstatus();
