// From a received record to the handler of its message ID.
#pragma once

#include "platform/bus.h"

// Logs the record's arrival and runs the handler for its ID. Returns the handler's result, 0 for an
// ID without one. C linkage: the bus calls it.
extern "C" int uplinkd_handler_msg(const uplinkd_msg_t *message);
