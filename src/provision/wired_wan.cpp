#include "provision/wired_wan.h"

#include <unistd.h>

#include "base/log_forms.h"
#include "batch/iface_commands.h"
#include "batch/script_runner.h"
#include "platform/devinfo_store.h"
#include "provision/clients/client_files.h"
#include "provision/clients/dhcpv4.h"
#include "provision/clients/dhcpv6.h"
#include "provision/clients/ppp.h"
#include "wan/ifname.h"
#include "wan/modes.h"
#include "wan/setting_ranges.h"
#include "wan/wan_record.h"
#include "wan/wan_settings.h"

namespace {

// One wired WAN and the interface that its item names. While a PPPoE link is up that is the PPP
// interface, so a bring-up that meets one dials on it, and writes that name into the new down
// scripts as the one to put back.
struct wired_wan {
    int idx;
    wan_di_set items;
    text<32> ifname;
};

} // namespace

// The main wired WAN is always on.
static bool is_switched_off(int idx) {
    return uplinkd_cfg_get_wired_sw_by_idx(idx) == 0 && idx != 0;
}

static void remove_pid_files(int idx) {
    uplinkd_dhcpc_clean_unuse_files_by_idx(idx);
    uplinkd_ppp_clean_unuse_files_by_idx(idx);
}

// Finds WAN wan.idx; false, logged in the caller's place, if it is not to be brought up.
static bool find_wan_to_start(wired_wan &wan, log_site site = caller_site()) {
    if (is_switched_off(wan.idx)) {
        UPLINKD_TRACE_AT(site, LOG_ROUTINE, "skip idx (%d) due to mwan switch disabled", wan.idx);
        return false;
    }
    const int vlan_id = uplinkd_cfg_get_wired_vlan_id_by_idx(wan.idx);
    if (!is_vlan_id_of_index(vlan_id, wan.idx)) {
        UPLINKD_TRACE_AT(site, LOG_ROUTINE, "skip idx (%d) due to vid (%d) invalid", wan.idx,
                         vlan_id);
        return false;
    }
    if (uplinkd_cfg_get_di_wired_by_idx(&wan.items, wan.idx) != 0)
        return false;
    wan.ifname = item_ifname<32>(wan.items.ifname_id);
    if (wan.ifname.empty()) {
        UPLINKD_TRACE_AT(site, LOG_ROUTINE, "got invalid vifname from di");
        return false;
    }
    return true;
}

// Marks the WAN as up and queues the start of its clients. Logs in the caller's place.
static void start_wan(const wired_wan &wan, log_site site = caller_site()) {
    const char *ifname = wan.ifname.c_str();
    set_devinfo_value_by_id(wan.items.netstatus_id, "1", 1);
    uplinkd_cfg_set_wired_iface_type_by_idx(wan.items.iface_type_id, wan.idx);

    const uplinkd_ipmode ipmode_v4 = uplinkd_cfg_get_wired_ipmode_v4_by_idx(wan.idx);
    if (ipmode_v4 == IPMODE_LINKPPP) { // covers both IP versions
        uplinkd_ppp_start_on_iface(ifname, wan.idx, &wan.items);
        return;
    }
    const uplinkd_ip_version ip_version = uplinkd_cfg_get_wired_ipversion_by_idx(wan.idx);
    if ((ip_version & IPVER_V4) != 0) {
        uplinkd_dhcpcv4_start_on_iface(ifname, wan.idx, ipmode_v4, &wan.items);
        UPLINKD_TRACE_AT(site, LOG_ROUTINE,
                         "setup--idx:(%d), ifname:(%s), ipmode:(%d), ip_ver:(v4)", wan.idx, ifname,
                         ipmode_v4);
    }
    if ((ip_version & IPVER_V6) != 0) {
        const uplinkd_ipmode ipmode_v6 = uplinkd_cfg_get_wired_ipmode_v6_by_idx(wan.idx);
        uplinkd_dhcpcv6_start_on_iface(ifname, wan.idx, ipmode_v6, &wan.items);
        UPLINKD_TRACE_AT(site, LOG_ROUTINE,
                         "setup--idx:(%d), ifname:(%s), ipmode:(%d), ip_ver:(v6)", wan.idx, ifname,
                         ipmode_v6);
    }
}

int uplinkd_process_wired_up(int) {
    batch commands(__func__);
    const int last_idx = uplinkd_cfg_get_wired_sub_port_num();
    uplinkd_dhcpc_kill_clients();
    uplinkd_ppp_kill_client();
    for (int idx = 0; idx <= last_idx; idx++) {
        remove_pid_files(idx);
        wired_wan wan = {.idx = idx, .items = {}, .ifname = {}};
        if (find_wan_to_start(wan))
            start_wan(wan);
    }
    commands.run();
    UPLINKD_TRACE(LOG_ROUTINE, "finish process wired up");
    return 0;
}

int uplinkd_process_wired_down(int wan_mode) {
    batch commands(__func__);
    uplinkd_dhcpc_kill_clients();
    uplinkd_ppp_kill_client();

    const int last_idx = uplinkd_cfg_get_wired_sub_port_num();
    const bool keeps_addresses = wan_mode == WAN_MODE_BRIDGE_MIX;
    for (int idx = 0; idx <= last_idx; idx++) {
        remove_pid_files(idx);
        if (is_switched_off(idx))
            continue;
        wan_di_set set;
        if (uplinkd_cfg_get_di_wired_by_idx(&set, idx) != 0)
            continue;
        const text<32> ifname = item_ifname<32>(set.ifname_id);
        if (keeps_addresses)
            uplinkd_cfg_clean_iface_wan_di(&set);
        else
            uplinkd_cfg_clean_wan_di(&set);
        if (ifname.empty()) {
            UPLINKD_TRACE(LOG_ROUTINE, "got empty ifname at mwan idx:(%d)", idx);
            continue;
        }
        if (!keeps_addresses)
            uplinkd_iface_clean_addrv4(ifname.c_str());
        uplinkd_iface_clean_global_addrv6(ifname.c_str());
    }
    commands.run();
    UPLINKD_TRACE(LOG_ROUTINE, "finish process wired down");
    return 0;
}

void reclaim_pid_files() {
    for (int idx = 0; is_wan_index(idx); idx++) {
        const dhcp_client_fnames client(UDHCPC6, idx, IPVER_V6);
        if (access(client.script.c_str(), F_OK) == 0) // it has been started before
            reclaim_generated(client.pid.c_str());
    }
}
