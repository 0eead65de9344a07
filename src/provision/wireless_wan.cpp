// A band has no settings of its own: it uses those, and the client files, of wired WAN index 0.
// Only one uplink is active at a time.

#include "provision/wireless_wan.h"

#include <cstring>

#include "base/log_forms.h"
#include "batch/iface_commands.h"
#include "batch/script_runner.h"
#include "platform/devinfo_store.h"
#include "provision/clients/client_files.h"
#include "provision/clients/dhcpv4.h"
#include "provision/clients/dhcpv6.h"
#include "wan/ifname.h"
#include "wan/modes.h"
#include "wan/uplinks.h"
#include "wan/wan_record.h"
#include "wan/wan_settings.h"

static constexpr int BAND_INDEX = 0;

int uplinkd_process_wlan_up(int wan_mode) {
    batch commands(__func__);
    uplinkd_dhcpc_kill_clients();

    wan_di_set set;
    uplinkd_cfg_get_di_wlan_by_mode(&set, wan_mode);
    set_devinfo_value_by_id(set.netstatus_id, "1", 1);
    const uplink &wan = *uplink_of_mode(wan_mode);
    set_devinfo_value_by_id(set.iface_type_id, wan.iface_type,
                            static_cast<int>(strlen(wan.iface_type)));
    const text<32> ifname = item_ifname<32>(set.ifname_id);
    if (ifname.empty()) {
        UPLINKD_TRACE(LOG_EVENT, "got invalid ifname");
        return -1;
    }
    const uplinkd_ip_version ip_version = uplinkd_cfg_get_wired_ipversion_by_idx(BAND_INDEX);
    if ((ip_version & IPVER_V4) != 0)
        uplinkd_dhcpcv4_start_on_iface(ifname.c_str(), BAND_INDEX,
                                       uplinkd_cfg_get_wired_ipmode_v4_by_idx(BAND_INDEX), &set);
    if ((ip_version & IPVER_V6) != 0)
        uplinkd_dhcpcv6_start_on_iface(ifname.c_str(), BAND_INDEX,
                                       uplinkd_cfg_get_wired_ipmode_v6_by_idx(BAND_INDEX), &set);
    commands.run();
    UPLINKD_TRACE(LOG_ROUTINE, "finish process wlan up");
    return 0;
}

int uplinkd_process_wlan_down(int wan_mode) {
    batch commands(__func__);
    uplinkd_dhcpc_kill_clients();

    wan_di_set set;
    uplinkd_cfg_get_di_wlan_by_mode(&set, wan_mode);
    const text<32> ifname = item_ifname<32>(set.ifname_id);
    if (!ifname.empty()) {
        uplinkd_iface_clean_addrv4(ifname.c_str());
        uplinkd_iface_clean_global_addrv6(ifname.c_str());
    }
    uplinkd_cfg_clean_wan_di(&set);
    commands.run();
    UPLINKD_TRACE(LOG_ROUTINE, "finish process wlan down");
    return 0;
}
