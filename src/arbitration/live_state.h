// What the arbitration goes by, as the stores have it at this moment.
#pragma once

#include "arbitration/arbitration.h"
#include "base/text.h"

// The texts are the items' own: the log prints them, inputs_of and the handler evaluate them.
struct live_state {
    text<2> mobile_connstatus;
    text<2> wired_wan_connstatus;
    text<2> wlan_wan_connstatus;
    text<4> wlan_link_status_24g_current;
    text<4> wlan_link_status_58g_current;
    text<2> mobile_netstatus;
    text<2> wan_netstatus;
    int wan_mode;
    int strategy;
};

live_state read_live_state();

// What counts of it.
arbitration_inputs inputs_of(const live_state &live);
