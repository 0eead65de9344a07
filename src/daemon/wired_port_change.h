// The link of the WAN Ethernet port: brings the wired WAN up or takes it down.
#pragma once

#include "daemon/handler_mutex.h"

// Returns 0.
int wan_wired_status_change_handler() UPLINKD_HANDLER;
