// From the WAN mode that was handled last to the one that is configured now.
#pragma once

// Returns 0.
int wan_mode_change_handler();

// Evaluates the wireless link without a message, as an ordinary, unforced evaluation. Returns 0.
int uplinkd_wireless_status_recheck();
