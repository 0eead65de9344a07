// The end of the feedback loop: a client script has stored a lease and reports. With the external
// script, the active uplink is checked against the main LAN subnet, which the bridge modes ignore;
// without it, in a wired mode, every enabled wired WAN against the LAN and VLAN subnets that are
// enabled and served, up to the first overlap.

#include "daemon/setup_completed.h"

#include "arbitration/connection_status.h"
#include "base/log_forms.h"
#include "base/messages.h"
#include "base/outgoing.h"
#include "base/text.h"
#include "daemon/wan_status_change.h"
#include "guard/subnet_conflict.h"
#include "platform/config_store.h"
#include "platform/devinfo_store.h"
#include "platform/flag_store.h"
#include "platform/network.h"
#include "provision/wan_mode_script.h"
#include "provision/wired_wan.h"
#include "wan/flags.h"
#include "wan/ifname.h"
#include "wan/modes.h"
#include "wan/setting_keys.h"
#include "wan/uplinks.h"
#include "wan/wan_record.h"
#include "wan/wan_settings.h"

using ipv4_text = text<IPV4_TEXT_SIZE>;
// The interface name stays empty for a static address.
using wan_address = learned_address<IPV4_TEXT_SIZE>;

static wan_address read_wan_address(const uplink &source, const char *ipmode) {
    if (learns_address(source, ipmode))
        return read_learned_address<IPV4_TEXT_SIZE>(source);
    wan_address configured;
    configured.ipv4 = setting_text<IPV4_TEXT_SIZE>(USR_WAN_IPADDR_V4);
    configured.netmask = setting_text<IPV4_TEXT_SIZE>(USR_WAN_SUBMASK_V4);
    return configured;
}

static void store_hardware_address(const char *ifname, int item) {
    unsigned char mac[MAC_ADDR_SIZE] = {};
    text<32> mac_text;
    cmd_netdev_get_mac_addr(ifname, mac);
    util_network_get_mac_string(mac, mac_text.data(), mac_text.size());
    set_devinfo_value_by_id(item, mac_text.c_str(), mac_text.size());
}

static void announce_wan() UPLINKD_HANDLER {
    flag_set(SUBNET_CONFLICT_FLAG, "0");
    wan_status_change_handler();
    uplinkd_send_broadcast_msg(UPLINKD_MSG_ID_WAN_SETUP_COMPLETED);
    uplinkd_send_msg2pfilterd(PFILTERD_MSG_ID_WAN_CHANGED, nullptr, 0);
}

int uplinkd_wan_setup_completed_handler(const uplinkd_msg_t *) {
    if (!uplinkd_is_wan_mode_script_present()) {
        uplinkd_process_setup_complete();
        return 0;
    }
    const int wan_mode = get_CFG_int(USR_WAN_MODE);
    const ipv4_text lan_addr = setting_text<IPV4_TEXT_SIZE>(USR_DHCP_LAN_IP);
    const ipv4_text lan_mask = setting_text<IPV4_TEXT_SIZE>(USR_DHCP_SUBNET_MASK);
    const text<12> ipmode = setting_text<12>(USR_WAN_IPMODE);
    const uplink *of_mode = uplink_of_mode(wan_mode);
    const uplink &source = of_mode != nullptr ? *of_mode : WIRED_UPLINK;
    const wan_address wan = read_wan_address(source, ipmode.c_str());
    if (!wan.ifname.empty())
        store_hardware_address(wan.ifname.c_str(), source.mac_id);

    const int relation = util_get_2_network_segment_relations4(
        lan_addr.c_str(), lan_mask.c_str(), wan.ipv4.c_str(), wan.netmask.c_str());
    UPLINKD_TRACE(LOG_EVENT,
                  "\n\tlan_ipv4 ->%s, lan_netmask ->%s,\n\twan_ipv4_addr ->%s, wan_netmask ->%s\n"
                  "\trelations4 ->%d",
                  lan_addr.c_str(), lan_mask.c_str(), wan.ipv4.c_str(), wan.netmask.c_str(),
                  relation);

    if (relation == SEGMENT_DISJOINT || is_bridge_mode(wan_mode)) {
        announce_wan();
        return 0;
    }
    flag_set(SUBNET_CONFLICT_FLAG, "1");
    UPLINKD_TRACE(LOG_EVENT, "detect wan net segment invalid , reset interface");
    run_wan_mode_script_reset();
    uplinkd_update_connstatus();
    return 0;
}

int uplinkd_process_setup_complete() {
    const int wan_mode = get_CFG_int(USR_WAN_MODE);
    if (wan_mode == WAN_MODE_MOBILE || is_wireless_mode(wan_mode))
        return 0;
    if (is_wired_mode(wan_mode))
        return uplinkd_process_wired_setup_completed(wan_mode);
    UPLINKD_TRACE(LOG_EVENT, "got invalid wan mode (%d)", wan_mode);
    return -1;
}

int uplinkd_process_wired_setup_completed(int wan_mode) {
    const int last_idx = uplinkd_cfg_get_wired_sub_port_num();
    bool conflict = false;
    for (int idx = 0; idx <= last_idx && !conflict; idx++) {
        if (idx > 0 && uplinkd_cfg_get_wired_sw_by_idx(idx) == 0)
            continue;
        wan_di_set set;
        if (uplinkd_cfg_get_di_wired_by_idx(&set, idx) != 0)
            continue;
        const text<32> addr = item_text<32>(set.ipv4_addr_id);
        const text<32> mask = item_text<32>(set.ipv4_netmask_id);
        if (addr.empty() || mask.empty()) {
            UPLINKD_TRACE(LOG_EVENT, "got invalid wan addr or wan mask, di_addr:(%d), di_mask:(%d)",
                          set.ipv4_addr_id, set.ipv4_netmask_id);
            continue;
        }
        UPLINKD_TRACE(LOG_ROUTINE, "wan idx:(%d), got addr:(%s), mask:(%s)", idx, addr.c_str(),
                      mask.c_str());
        conflict = uplinkd_process_is_addrv4_conflict_with_lan(addr.c_str(), mask.c_str()) != 0 ||
                   uplinkd_process_is_addrv4_conflict_with_v_lan(addr.c_str(), mask.c_str()) != 0;
    }
    if (!conflict) {
        UPLINKD_TRACE(LOG_ROUTINE, "ipv4 wan net segment has no conflict with lan");
        announce_wan();
        return 0;
    }
    flag_set(SUBNET_CONFLICT_FLAG, "1");
    UPLINKD_TRACE(LOG_EVENT, "detect wan net segment invalid , reset interface");
    uplinkd_process_wired_down(wan_mode);
    uplinkd_update_connstatus();
    return 0;
}
