// Handlers run one at a time: every dispatch holds this mutex, and so does start-up's own
// evaluation of the WAN mode. Nothing else takes it. It guards the state that the handlers keep
// between events.
#pragma once

#include "platform/mutex.h"

extern uplinkd_mutex uplinkd_handler_mutex;
#define UPLINKD_HANDLER UPLINKD_REQUIRES(uplinkd_handler_mutex)
