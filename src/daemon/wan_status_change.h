// A status change of an uplink: arbitrate, and tell the others when the priority has moved.
#pragma once

#include "daemon/handler_mutex.h"

// Returns 0.
int wan_status_change_handler() UPLINKD_HANDLER;
