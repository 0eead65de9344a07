// From the WAN mode that was handled last to the one that is configured now.
#pragma once

#include "daemon/handler_mutex.h"

// Returns 0.
int wan_mode_change_handler() UPLINKD_HANDLER;

// Evaluates the wireless link without a message, as an ordinary, unforced evaluation. Returns 0.
int uplinkd_wireless_status_recheck() UPLINKD_HANDLER;
