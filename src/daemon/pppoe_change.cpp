#include "daemon/pppoe_change.h"

#include <cstring>
#include <initializer_list>

#include "base/log_forms.h"
#include "base/messages.h"
#include "base/outgoing.h"
#include "base/text.h"
#include "daemon/wan_status_change.h"
#include "platform/config_store.h"
#include "platform/devinfo_store.h"
#include "provision/wan_mode_script.h"
#include "provision/wired_wan.h"
#include "wan/modes.h"
#include "wan/setting_keys.h"
#include "wan/uplinks.h"

// Empties what the link had learned, and puts the WAN's own interface back in the PPP interface's
// place.
static void clear_ipv4_items(const uplink &wan) {
    const wan_di_set &items = wan.items;
    for (const uint32_t id : {items.ipv4_addr_id, items.ipv4_gateway_id, items.ipv4_dns1_id,
                              items.ipv4_dns2_id, items.ipv4_netmask_id})
        set_devinfo_value_by_id(id, "", 1);
    set_devinfo_value_by_id(items.ifname_id, wan.default_ifname,
                            static_cast<int>(strlen(wan.default_ifname)));
}

int uplinkd_pppoe_status_change_handler() {
    reclaim_pid_files();
    const int wan_mode = get_CFG_int(USR_WAN_MODE);
    const int link_detection = get_CFG_int(USR_WAN_LINK_DETECT_SW);
    const text<12> ipmode = setting_text<12>(USR_WAN_IPMODE);
    const text<2> wired_netstatus = item_text<2>(DI_IFA_WIRED_WAN_NETSTATUS);
    const int netstatus = wired_netstatus.empty() ? -1 : to_int(wired_netstatus.c_str());
    UPLINKD_DEBUG("wan mode(%d) netstatus(%d)", wan_mode, netstatus);

    if (is_wireless_mode(wan_mode))
        clear_ipv4_items(*uplink_of_mode(wan_mode));
    else if ((wan_mode == WAN_MODE_WIRED || wan_mode == WAN_MODE_MIX) &&
             uplinkd_is_wan_mode_script_present())
        clear_ipv4_items(WIRED_UPLINK);

    if (link_detection != 0) {
        const int result =
            uplinkd_send_async_msg(APP_ID_LINKPROBE, LINKPROBE_MSG_ID_WAN_LINK_BROKEN, nullptr, 0);
        UPLINKD_TRACE(LOG_EVENT, "pppoe connection is broken, inform linkprobe ret= (%d)", result);
    }
    wan_status_change_handler();

    if (wan_mode == WAN_MODE_MOBILE || is_bridge_mode(wan_mode)) {
        UPLINKD_DEBUG("not need to connect pppoe");
        return 0;
    }
    if (netstatus == 1 && strcmp(ipmode.c_str(), "linkPPP") == 0 &&
        uplinkd_is_wan_mode_script_present()) {
        UPLINKD_TRACE(LOG_EVENT, "try to connect pppoe");
        run_wan_mode_script_set();
    }
    return 0;
}
