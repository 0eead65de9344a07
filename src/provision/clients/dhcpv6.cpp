#include "provision/clients/dhcpv6.h"

#include "base/log_forms.h"
#include "base/messages.h"
#include "base/text.h"
#include "batch/generated_files.h"
#include "batch/script_runner.h"
#include "batch/shell_quote.h"
#include "provision/clients/client_files.h"
#include "provision/clients/dhcpv6_scripts.h"
#include "wan/modes.h"

// False for a mode that is none of IPv6's.
static bool start_mode(const char *ifname, int idx, uplinkd_ipmode ipmode,
                       const wan_ipv6_ids *ids) {
    switch (ipmode) {
    case IPMODE_STATIC: uplinkd_dhcpcv6_start_static(); return true;
    case IPMODE_STATEFUL: uplinkd_dhcpcv6_start_stateful(ifname, idx, ids); return true;
    case IPMODE_STATELESS: uplinkd_dhcpcv6_start_stateless(ifname, idx, ids); return true;
    case IPMODE_SLAAC: uplinkd_dhcpcv6_start_slaac(); return true;
    case IPMODE_NONE:
    case IPMODE_DHCP:
    case IPMODE_LINKPPP: break;
    }
    return false;
}

int uplinkd_dhcpcv6_start_on_iface(const char *ifname, int idx, uplinkd_ipmode ipmode,
                                   const wan_ipv6_ids *ids) {
    if (ifname == nullptr || ids == nullptr)
        return -1;
    if (!start_mode(ifname, idx, ipmode, ids)) {
        UPLINKD_TRACE(LOG_EVENT, "got invalid ipmode:(%d)", ipmode);
        return -1;
    }
    UPLINKD_TRACE(LOG_ROUTINE, "finish start dhcpcv6 on iface (%s), idx (%d), ipmode (%d)", ifname,
                  idx, ipmode);
    return 0;
}

int uplinkd_dhcpcv6_write_stateless_script(const char *path, const char *writer,
                                           const wan_ipv6_ids *ids, int retry_count,
                                           int wait_period, int app_id, int msg_id) {
    write_client_script(path, DHCPV6_STATELESS_SCRIPT, writer, ids->ipv6_addr_id, ids->ipv6_dns1_id,
                        ids->ipv6_dns2_id, ids->ipv6_gateway_id, retry_count, wait_period, app_id,
                        msg_id);
    return 0;
}

int uplinkd_dhcpcv6_write_stateful_script(const char *path, const char *writer,
                                          const wan_ipv6_ids *ids, int retry_count, int wait_period,
                                          int app_id, int msg_id) {
    write_client_script(path, DHCPV6_STATEFUL_SCRIPT, writer, ids->ipv6_addr_id, ids->ipv6_dns1_id,
                        ids->ipv6_dns2_id, ids->ipv6_gateway_id, retry_count, wait_period, app_id,
                        msg_id);
    return 0;
}

static void queue_ipv6_setting(const char *ifname, int value, const char *setting) {
    uplinkd_file_append_line(TMP_SCRIPT, "echo %d > /proc/sys/net/ipv6/conf/%s/%s", value,
                             shell_word(ifname).c_str(), setting);
}

// OPTIONS, each with a blank before it, go before the request for DNS servers.
static void queue_client(const char *ifname, const dhcp_client_fnames &fnames,
                         const char *options) {
    prepare_generated(fnames.pid.c_str());
    uplinkd_file_append_line(TMP_SCRIPT, "%s -i %s -s %s -p %s%s -O 23 >/dev/null 2>&1 &", UDHCPC6,
                             shell_word(ifname).c_str(), fnames.script.c_str(), fnames.pid.c_str(),
                             options);
}

int uplinkd_dhcpcv6_start_stateful(const char *ifname, int idx, const wan_ipv6_ids *ids) {
    const dhcp_client_fnames fnames(UDHCPC6, idx, IPVER_V6);
    uplinkd_dhcpcv6_write_stateful_script(fnames.script.c_str(), __func__, ids, RA_RETRY_COUNT,
                                          RA_WAIT_PERIOD, APP_ID_UPLINKD,
                                          UPLINKD_MSG_ID_WAN_SETUP_COMPLETED);
    queue_ipv6_setting(ifname, 0, "autoconf");
    queue_ipv6_setting(ifname, 2, "accept_ra"); // also while the router forwards
    queue_client(ifname, fnames, "");
    UPLINKD_TRACE(LOG_ROUTINE, "finish start dhcpv6 stateful");
    return 0;
}

int uplinkd_dhcpcv6_start_stateless(const char *ifname, int idx, const wan_ipv6_ids *ids) {
    const dhcp_client_fnames fnames(UDHCPC6, idx, IPVER_V6);
    uplinkd_dhcpcv6_write_stateless_script(fnames.script.c_str(), __func__, ids, RA_RETRY_COUNT,
                                           RA_WAIT_PERIOD, APP_ID_UPLINKD,
                                           UPLINKD_MSG_ID_WAN_SETUP_COMPLETED);
    queue_ipv6_setting(ifname, 1, "disable_ipv6"); // off and on: solicit an advertisement anew
    queue_ipv6_setting(ifname, 0, "disable_ipv6");
    queue_ipv6_setting(ifname, 1, "autoconf");
    queue_ipv6_setting(ifname, 2, "accept_ra");
    queue_client(ifname, fnames, " -r no");
    UPLINKD_TRACE(LOG_ROUTINE, "finish start dhcpv6 stateless");
    return 0;
}

int uplinkd_dhcpcv6_start_slaac() {
    UPLINKD_TRACE(LOG_ROUTINE, "finish start dhcpv6 slaac");
    return 0;
}

int uplinkd_dhcpcv6_start_static() {
    UPLINKD_TRACE(LOG_ROUTINE, "finish start dhcpv6 static");
    return 0;
}
