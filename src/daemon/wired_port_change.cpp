// Compares the WAN port's link with the one seen last, and with the network status, which others
// reset to have an unchanged link evaluated again.

#include "daemon/wired_port_change.h"

#include "arbitration/connection_status.h"
#include "base/log_forms.h"
#include "base/messages.h"
#include "base/outgoing.h"
#include "base/text.h"
#include "platform/config_store.h"
#include "provision/uplink_setup.h"
#include "wan/items.h"
#include "wan/modes.h"
#include "wan/setting_keys.h"
#include "wan/uplinks.h"
#include "wan/wan_port.h"

// The states at the last evaluation that was not skipped.
static port_states uplinkd_wan_port_last_status UPLINKD_GUARDED_BY(uplinkd_handler_mutex) = {
    -1, -1, -1, -1, -1, -1, -1, -1};

int wan_wired_status_change_handler() {
    const size_t port = wan_port();
    const int wan_mode = get_CFG_int(USR_WAN_MODE);
    const int netstatus = to_int(item_text<8>(DI_IFA_WIRED_WAN_NETSTATUS).c_str());
    const port_states states = read_port_states();
    const int current = states[port];
    const int last = uplinkd_wan_port_last_status[port];
    if (current == last && netstatus == current)
        return 0;

    for (const log_form form : BOTH_FORMS) {
        UPLINKD_LOG(form, "detect wan_port_status change form %d to %d", last, current);
        UPLINKD_LOG(form, "wan_port_status_current %d , wired_netstatus %d", current, netstatus);
        if (form == log_form::debug)
            UPLINKD_DEBUG("wan_mode_current (%d)", wan_mode);
    }

    if (is_wired_mode(wan_mode)) {
        if (current == PORT_LINKED) {
            bring_uplink_up(WIRED_UPLINK, wan_mode);
        } else {
            take_uplink_down(WIRED_UPLINK, wan_mode, subnet_conflict::ends);
            const int result = uplinkd_send_async_msg(APP_ID_LINKPROBE,
                                                      LINKPROBE_MSG_ID_WAN_LINK_BROKEN, nullptr, 0);
            UPLINKD_TRACE(
                LOG_EVENT,
                "wired port linkdown detected,  inform linkprobe immediately.. ret = (%d)", result);
        }
    }
    uplinkd_wan_port_last_status = states;
    uplinkd_update_connstatus();
    return 0;
}
