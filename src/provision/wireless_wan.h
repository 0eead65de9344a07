// Brings the wireless WAN of a mode up, or takes it down, in one batch.
#pragma once

// WAN_MODE is 3 or 4. Returns 0 after the batch has run, -1 when the interface has no name.
int uplinkd_process_wlan_up(int wan_mode);
// WAN_MODE is 3 or 4. Returns 0.
int uplinkd_process_wlan_down(int wan_mode);
