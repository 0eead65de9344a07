// Who works on the interfaces when a link or the mode changes: the router's external WAN mode
// script where it exists, with the daemon only keeping the records, or else the daemon itself. (The
// set-up check and the PPPoE redial ask for the script themselves: without it they do something
// else.)
#pragma once

#include "wan/uplinks.h"

// Whether a tear-down through the script ends a subnet conflict.
enum class subnet_conflict { stays, ends };

// Bring the WAN of WAN_MODE up or take it down. In a wired mode the daemon's own work covers all
// wired WANs.
void bring_uplink_up(const uplink &wan, int wan_mode);
void take_uplink_down(const uplink &wan, int wan_mode,
                      subnet_conflict conflict = subnet_conflict::stays);

// Takes the WAN down because WAN_MODE is left.
void leave_uplink(const uplink &wan, int wan_mode);
