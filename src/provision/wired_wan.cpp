#include "provision/wired_wan.h"

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
#include "wan/wan_record.h"
#include "wan/wan_settings.h"

static constexpr int MIN_VLAN_ID = 10;
static constexpr int MAX_VLAN_ID = 4095;

// Only the main wired WAN may run untagged.
static bool is_vlan_id_of_index(int vlan_id, int idx) {
    if (vlan_id == 0 && idx == 0)
        return true;
    return vlan_id >= MIN_VLAN_ID && vlan_id <= MAX_VLAN_ID;
}

// The main wired WAN is always on.
static bool is_switched_off(int idx) {
    return uplinkd_cfg_get_wired_sw_by_idx(idx) == 0 && idx != 0;
}

static void remove_pid_files(int idx) {
    uplinkd_dhcpc_clean_unuse_files_by_idx(idx);
    uplinkd_ppp_clean_unuse_files_by_idx(idx);
}

int uplinkd_process_wired_up(int) {
    uplinkd_file_truncate(TMP_SCRIPT);
    uplinkd_file_append_line(TMP_SCRIPT, BATCH_HEADER, __func__);

    const int last_idx = uplinkd_cfg_get_wired_sub_port_num();
    if (!is_wan_index(last_idx)) {
        UPLINKD_TRACE(LOG_EVENT, "got invalid mwan num (%d)", last_idx);
        return -1;
    }
    uplinkd_dhcpc_kill_clients();
    uplinkd_ppp_kill_client();

    for (int idx = 0; idx <= last_idx; idx++) {
        remove_pid_files(idx);
        if (is_switched_off(idx)) {
            UPLINKD_TRACE(LOG_ROUTINE, "skip idx (%d) due to mwan switch disabled", idx);
            continue;
        }
        const int vlan_id = uplinkd_cfg_get_wired_vlan_id_by_idx(idx);
        if (!is_vlan_id_of_index(vlan_id, idx)) {
            UPLINKD_TRACE(LOG_ROUTINE, "skip idx (%d) due to vid (%d) invalid", idx, vlan_id);
            continue;
        }
        wan_di_set set;
        if (uplinkd_cfg_get_di_wired_by_idx(&set, idx) != 0)
            continue;
        const text<32> ifname = item_ifname<32>(set.ifname_id);
        if (ifname.empty()) {
            UPLINKD_TRACE(LOG_ROUTINE, "got invalid vifname from di");
            continue;
        }
        set_devinfo_value_by_id(set.netstatus_id, "1", 1);
        uplinkd_cfg_set_wired_iface_type_by_idx(set.iface_type_id, idx);

        const int ipmode_v4 = uplinkd_cfg_get_wired_ipmode_v4_by_idx(idx);
        if (ipmode_v4 == IPMODE_LINKPPP) { // covers both IP versions
            uplinkd_ppp_start_on_iface(ifname.c_str(), idx, &set);
            continue;
        }
        const int ip_version = uplinkd_cfg_get_wired_ipversion_by_idx(idx);
        if ((ip_version & IPVER_V4) != 0) {
            uplinkd_dhcpcv4_start_on_iface(ifname.c_str(), idx, ipmode_v4, &set);
            UPLINKD_TRACE(LOG_ROUTINE, "setup--idx:(%d), ifname:(%s), ipmode:(%d), ip_ver:(v4)",
                          idx, ifname.c_str(), ipmode_v4);
        }
        if ((ip_version & IPVER_V6) != 0) {
            const int ipmode_v6 = uplinkd_cfg_get_wired_ipmode_v6_by_idx(idx);
            uplinkd_dhcpcv6_start_on_iface(ifname.c_str(), idx, ipmode_v6, &set);
            UPLINKD_TRACE(LOG_ROUTINE, "setup--idx:(%d), ifname:(%s), ipmode:(%d), ip_ver:(v6)",
                          idx, ifname.c_str(), ipmode_v6);
        }
    }
    uplinkd_script_execute(TMP_SCRIPT, __func__);
    UPLINKD_TRACE(LOG_ROUTINE, "finish process wired up");
    return 0;
}

int uplinkd_process_wired_down(int wan_mode) {
    uplinkd_file_truncate(TMP_SCRIPT);
    uplinkd_file_append_line(TMP_SCRIPT, BATCH_HEADER, __func__);
    uplinkd_dhcpc_kill_clients();
    uplinkd_ppp_kill_client();

    const int last_idx = uplinkd_cfg_get_wired_sub_port_num();
    if (!is_wan_index(last_idx)) {
        UPLINKD_TRACE(LOG_EVENT, "got invalid mwan num (%d)", last_idx);
        return -1;
    }
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
    uplinkd_script_execute(TMP_SCRIPT, __func__);
    UPLINKD_TRACE(LOG_ROUTINE, "finish process wired down");
    return 0;
}
