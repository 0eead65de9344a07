// From a received record to the handler of its message ID.
#pragma once

#include "platform/bus.h"
#include "platform/mutex.h"

// Handlers run one at a time: every dispatch holds this mutex, and so does start-up's own
// evaluation of the WAN mode. Nothing else takes it.
extern uplinkd_mutex uplinkd_handler_mutex;

// Logs the record's arrival and runs the handler for its ID. Returns the handler's result, 0 for an
// ID without one. C linkage: the bus calls it.
extern "C" int uplinkd_handler_msg(const uplinkd_msg_t *message);
