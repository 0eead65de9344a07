#include "provision/clients/dhcpv4.h"

#include "base/log_forms.h"
#include "base/messages.h"
#include "base/text.h"
#include "batch/generated_files.h"
#include "batch/iface_commands.h"
#include "batch/script_runner.h"
#include "batch/shell_quote.h"
#include "platform/devinfo_store.h"
#include "provision/clients/client_files.h"
#include "provision/clients/dhcpv4_script.h"
#include "wan/modes.h"
#include "wan/setting_keys.h"

using setting_value = text<32>;

// False for a mode that is none of IPv4's.
static bool start_mode(const char *ifname, int idx, uplinkd_ipmode ipmode,
                       const wan_ipv4_ids *ids) {
    switch (ipmode) {
    case IPMODE_STATIC: uplinkd_dhcpcv4_setup_static(ifname, idx, ids); return true;
    case IPMODE_DHCP: uplinkd_dhcpcv4_run_client(ifname, idx, ids); return true;
    case IPMODE_NONE:
    case IPMODE_STATEFUL:
    case IPMODE_STATELESS:
    case IPMODE_SLAAC:
    case IPMODE_LINKPPP: break;
    }
    return false;
}

int uplinkd_dhcpcv4_start_on_iface(const char *ifname, int idx, uplinkd_ipmode ipmode,
                                   const wan_ipv4_ids *ids) {
    if (ifname == nullptr || ids == nullptr)
        return -1;
    if (!start_mode(ifname, idx, ipmode, ids)) {
        UPLINKD_TRACE(LOG_EVENT, "got invalid ipmode:(%d)", ipmode);
        return -1;
    }
    UPLINKD_TRACE(LOG_ROUTINE, "finish start dhcpcv4 on iface (%s), idx (%d), ipmode (%d)", ifname,
                  idx, ipmode);
    return 0;
}

int uplinkd_dhcpcv4_write_script(const char *path, const char *writer, const wan_ipv4_ids *ids,
                                 int app_id, int msg_id) {
    write_client_script(path, DHCPV4_LEASE_SCRIPT, writer, ids->ipv4_netmask_id, ids->ipv4_addr_id,
                        ids->ipv4_gateway_id, ids->ipv4_dns1_id, ids->ipv4_dns2_id, app_id, msg_id);
    return 0;
}

void uplinkd_dhcpcv4_run_client(const char *ifname, int idx, const wan_ipv4_ids *ids) {
    if (ifname == nullptr || ids == nullptr)
        return;
    const dhcp_client_fnames fnames(UDHCPC, idx, IPVER_V4);
    uplinkd_dhcpcv4_write_script(fnames.script.c_str(), __func__, ids, APP_ID_UPLINKD,
                                 UPLINKD_MSG_ID_WAN_SETUP_COMPLETED);
    prepare_generated(fnames.pid.c_str());
    uplinkd_file_append_line(TMP_SCRIPT, "%s -i %s -s %s -p %s >/dev/null 2>&1 &", UDHCPC,
                             shell_word(ifname).c_str(), fnames.script.c_str(), fnames.pid.c_str());
    UPLINKD_TRACE(LOG_ROUTINE, "finish run dhcp v4 client");
}

static setting_value static_setting(const char *key, int idx) {
    return setting_text<32>(key_of_index(key, idx).c_str());
}

static void store(uint32_t id, const setting_value &value) {
    set_devinfo_value_by_id(static_cast<int>(id), value.c_str(), value.size());
}

int uplinkd_dhcpcv4_setup_static(const char *ifname, int idx, const wan_ipv4_ids *ids) {
    if (ifname == nullptr || ids == nullptr)
        return -1;
    const setting_value address = static_setting(USR_WAN_IPADDR_V4, idx);
    const setting_value netmask = static_setting(USR_WAN_SUBMASK_V4, idx);
    const setting_value gateway = static_setting(USR_WAN_GATEWAY_V4, idx);
    const setting_value dns1 = static_setting(USR_WAN_FIRSTDNS_V4, idx);
    const setting_value dns2 = static_setting(USR_WAN_SECDNS_V4, idx);

    store(ids->ipv4_addr_id, address);
    store(ids->ipv4_netmask_id, netmask);
    store(ids->ipv4_gateway_id, gateway);
    store(ids->ipv4_dns1_id, dns1);
    store(ids->ipv4_dns2_id, dns2);
    uplinkd_iface_set_addrv4(ifname, address.c_str(), netmask.c_str());
    UPLINKD_TRACE(LOG_ROUTINE, "finish setup ipv4 static on iface(%s), idx(%d)", ifname, idx);
    return 0;
}
