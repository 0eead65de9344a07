#include "arbitration/live_state.h"

#include "platform/config_store.h"
#include "wan/items.h"
#include "wan/setting_keys.h"

live_state read_live_state() {
    return {
        .mobile_connstatus = item_text<2>(DI_IFA_MOBILE_CONNSTATUS),
        .wired_wan_connstatus = item_text<2>(DI_IFA_WIRED_WAN_CONNSTATUS),
        .wlan_wan_connstatus = item_text<2>(DI_IFA_WLAN_WAN_CONNSTATUS),
        .wlan_link_status_24g_current = item_text<4>(DI_IFA_WLAN24_LINK_STATUS),
        .wlan_link_status_58g_current = item_text<4>(DI_IFA_WLAN58_LINK_STATUS),
        .mobile_netstatus = item_text<2>(DI_IFA_MOBILE_NETSTATUS),
        .wan_netstatus = item_text<2>(DI_IFA_WIRED_WAN_NETSTATUS),
        .wan_mode = get_CFG_int(USR_WAN_MODE),
        .strategy = get_CFG_int(USR_WAN_COMMUNICATION_PRIORITY_STRATEGY),
    };
}

arbitration_inputs inputs_of(const live_state &live) {
    return {
        .wan_mode = live.wan_mode,
        .strategy = live.strategy,
        .mobile_up = is_one(live.mobile_netstatus),
        .mobile_connected = is_one(live.mobile_connstatus),
        .wan_up = is_one(live.wan_netstatus),
        .wan_connected = is_one(live.wired_wan_connstatus),
    };
}
