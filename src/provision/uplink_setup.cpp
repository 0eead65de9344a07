#include "provision/uplink_setup.h"

#include <cstring>

#include "platform/devinfo_store.h"
#include "platform/flag_store.h"
#include "provision/wan_mode_script.h"
#include "provision/wired_wan.h"
#include "provision/wireless_wan.h"
#include "wan/flags.h"

// The lengths count the NUL but for the interface name's; what is stored is the same either way.
static void record_uplink_up(const uplink &wan) {
    set_devinfo_value_by_id(wan.items.netstatus_id, "1", 2);
    set_devinfo_value_by_id(wan.items.ifname_id, wan.default_ifname,
                            static_cast<int>(strlen(wan.default_ifname)));
    set_devinfo_value_by_id(wan.items.iface_type_id, wan.iface_type,
                            static_cast<int>(strlen(wan.iface_type)) + 1);
}

static void record_uplink_down(const uplink &wan) {
    set_devinfo_value_by_id(wan.items.netstatus_id, "0", 2);
    set_devinfo_value_by_id(wan.items.ifname_id, "", 1);
    set_devinfo_value_by_id(wan.items.iface_type_id, "", 1);
}

void bring_uplink_up(const uplink &wan, int wan_mode) {
    if (uplinkd_is_wan_mode_script_present()) {
        record_uplink_up(wan);
        run_wan_mode_script_set();
    } else if (is_wireless_mode(wan_mode)) {
        uplinkd_process_wlan_up(wan_mode);
    } else {
        uplinkd_process_wired_up(wan_mode);
    }
}

void take_uplink_down(const uplink &wan, int wan_mode, subnet_conflict conflict) {
    if (uplinkd_is_wan_mode_script_present()) {
        run_wan_mode_script_reset();
        if (conflict == subnet_conflict::ends)
            flag_set(SUBNET_CONFLICT_FLAG, "0");
        record_uplink_down(wan);
    } else if (is_wireless_mode(wan_mode)) {
        uplinkd_process_wlan_down(wan_mode);
    } else {
        uplinkd_process_wired_down(wan_mode);
    }
}

// To leave a wireless mode the script is asked in any case; without one, the daemon's own tear-down
// stands in, while the interface-name item still names the interface.
static void leave_wireless(const uplink &wan, int wan_mode) {
    run_wan_mode_script_reset();
    if (!uplinkd_is_wan_mode_script_present())
        uplinkd_process_wlan_down(wan_mode);
    record_uplink_down(wan);
}

void leave_uplink(const uplink &wan, int wan_mode) {
    if (is_wireless_mode(wan_mode))
        leave_wireless(wan, wan_mode);
    else
        take_uplink_down(wan, wan_mode);
}
