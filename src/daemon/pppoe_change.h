// A PPPoE link has gone down: clear what it had learned, arbitrate, dial again where it applies.
#pragma once

#include "daemon/handler_mutex.h"

// Returns 0.
int uplinkd_pppoe_status_change_handler() UPLINKD_HANDLER;
