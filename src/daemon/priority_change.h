// Somebody has changed the network priority: in the bridge mix mode, set the wired WAN up anew.
#pragma once

#include "daemon/handler_mutex.h"
#include "platform/bus.h"

// Returns -1 for a null record, 0 in any other mode, otherwise the wired port handler's result.
int uplinkd_priority_change_handler(const uplinkd_msg_t *message) UPLINKD_HANDLER;
