// The links of the two Wi-Fi client interfaces: brings the wireless WAN up or takes it down.
#pragma once

#include "daemon/handler_mutex.h"
#include "platform/bus.h"

// MESSAGE may be null; a refresh message evaluates the bands even if their links are unchanged.
// Returns 0.
int wan_wireless_status_change_handler(const uplinkd_msg_t *message) UPLINKD_HANDLER;
