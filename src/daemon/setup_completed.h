// An address set-up has finished: check it against the LAN, then reset the WAN or announce it.
#pragma once

#include "daemon/handler_mutex.h"
#include "platform/bus.h"

// The record is not read. Returns 0.
int uplinkd_wan_setup_completed_handler(const uplinkd_msg_t *message) UPLINKD_HANDLER;

// The check without the external script. Returns 0, or -1 for an invalid WAN mode.
int uplinkd_process_setup_complete() UPLINKD_HANDLER;

// The check of every enabled wired WAN. Returns 0.
int uplinkd_process_wired_setup_completed(int wan_mode) UPLINKD_HANDLER;
