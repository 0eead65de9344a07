#include "provision/clients/ppp.h"

#include <initializer_list>

#include "base/log_forms.h"
#include "base/messages.h"
#include "batch/generated_files.h"
#include "batch/script_runner.h"
#include "batch/shell_quote.h"
#include "provision/clients/client_files.h"
#include "provision/clients/dhcpv6.h"
#include "provision/clients/ppp_scripts.h"
#include "wan/modes.h"
#include "wan/wan_settings.h"

static constexpr const char *PPPOE = "pppoe";
static constexpr int FIRST_UNIT = 5000; // index 0 is ppp5000

int uplinkd_ppp_start_on_iface(const char *ifname, int idx, const wan_di_set *set) {
    if (ifname == nullptr || set == nullptr)
        return -1;
    ppp_cfg_set cfg = {};
    uplinkd_ppp_get_cfg_by_idx(&cfg, idx);

    const dhcp_client_fnames dhcp(UDHCPC6, idx, IPVER_V6);
    uplinkd_dhcpcv6_write_stateless_script(dhcp.script.c_str(), __func__, set, RA_RETRY_COUNT,
                                           RA_WAIT_PERIOD, APP_ID_UPLINKD,
                                           UPLINKD_MSG_ID_WAN_SETUP_COMPLETED);
    uplinkd_ppp_write_ipv6_up_script(cfg.ipv6_up_fname.c_str(), dhcp.script.c_str(),
                                     dhcp.pid.c_str(), __func__);
    uplinkd_ppp_write_ipv6_down_script(cfg.ipv6_down_fname.c_str(), set, ifname, dhcp.pid.c_str(),
                                       APP_ID_UPLINKD, UPLINKD_MSG_WAN_PPPOE_CHANGED, __func__);
    uplinkd_ppp_write_ip_up_script(cfg.ip_up_fname.c_str(), set, APP_ID_UPLINKD,
                                   UPLINKD_MSG_ID_WAN_SETUP_COMPLETED, __func__);
    uplinkd_ppp_write_ip_down_script(cfg.ip_down_fname.c_str(), set, ifname, APP_ID_UPLINKD,
                                     UPLINKD_MSG_WAN_PPPOE_CHANGED, __func__);
    uplinkd_ppp_add_user_and_pwd_2_secret(&cfg);
    uplinkd_ppp_run_client(ifname, &cfg, idx);
    UPLINKD_TRACE(LOG_ROUTINE, "finish start ppp on iface(%s), wan idx(%d)", ifname, idx);
    return 0;
}

int uplinkd_ppp_get_cfg_by_idx(ppp_cfg_set *cfg, int idx) {
    if (cfg == nullptr)
        return -1;
    uplinkd_cfg_get_ppp_user_and_pwd_by_idx(cfg->ppp_user.data(), cfg->ppp_user.size(),
                                            cfg->ppp_pwd.data(), cfg->ppp_pwd.size(), idx);
    cfg->ppp_mtu = static_cast<uint32_t>(uplinkd_cfg_get_ppp_mtu_by_idx(idx));
    cfg->ppp_mru = static_cast<uint32_t>(uplinkd_cfg_get_ppp_mru_by_idx(idx));
    if (cfg->ppp_mru == 0)
        cfg->ppp_mru = cfg->ppp_mtu;

    uplinkd_ppp_get_pid_fname_by_idx(cfg->pid_fname.data(), cfg->pid_fname.size(), idx, PPPD);
    uplinkd_ppp_get_script_fname_by_idx(cfg->ip_up_fname.data(), cfg->ip_up_fname.size(), idx,
                                        IPVER_V4, PPP_SCRIPT_UP);
    uplinkd_ppp_get_script_fname_by_idx(cfg->ip_down_fname.data(), cfg->ip_down_fname.size(), idx,
                                        IPVER_V4, PPP_SCRIPT_DOWN);
    uplinkd_ppp_get_script_fname_by_idx(cfg->ipv6_up_fname.data(), cfg->ipv6_up_fname.size(), idx,
                                        IPVER_V6, PPP_SCRIPT_UP);
    uplinkd_ppp_get_script_fname_by_idx(cfg->ipv6_down_fname.data(), cfg->ipv6_down_fname.size(),
                                        idx, IPVER_V6, PPP_SCRIPT_DOWN);
    return 0;
}

int uplinkd_ppp_write_ip_up_script(const char *path, const wan_di_set *set, int app_id, int msg_id,
                                   const char *writer) {
    if (path == nullptr || set == nullptr || writer == nullptr)
        return -1;
    write_client_script(path, PPP_IP_UP_SCRIPT, writer, set->ipv4_dns1_id, set->ipv4_dns2_id,
                        set->ipv4_addr_id, set->ipv4_gateway_id, set->ifname_id,
                        set->ipv4_netmask_id, app_id, msg_id);
    return 0;
}

int uplinkd_ppp_write_ip_down_script(const char *path, const wan_di_set *set, const char *ifname,
                                     int app_id, int msg_id, const char *writer) {
    if (path == nullptr || set == nullptr || ifname == nullptr || writer == nullptr)
        return -1;
    write_client_script(path, PPP_IP_DOWN_SCRIPT, writer, set->ipv4_dns1_id, set->ipv4_dns2_id,
                        set->ipv4_addr_id, set->ipv4_gateway_id, set->ifname_id,
                        set->ipv4_netmask_id, shell_word(ifname).c_str(), app_id, msg_id);
    return 0;
}

int uplinkd_ppp_write_ipv6_up_script(const char *path, const char *dhcp_script,
                                     const char *dhcp_pid_fname, const char *writer) {
    if (path == nullptr || dhcp_script == nullptr || dhcp_pid_fname == nullptr || writer == nullptr)
        return -1;
    prepare_generated(dhcp_pid_fname);
    write_client_script(path, PPP_IPV6_UP_SCRIPT, writer, UDHCPC6, dhcp_script, dhcp_pid_fname);
    return 0;
}

int uplinkd_ppp_write_ipv6_down_script(const char *path, const wan_di_set *set, const char *ifname,
                                       const char *dhcp_pid_fname, int app_id, int msg_id,
                                       const char *writer) {
    if (path == nullptr || set == nullptr || ifname == nullptr || dhcp_pid_fname == nullptr ||
        writer == nullptr)
        return -1;
    write_client_script(path, PPP_IPV6_DOWN_SCRIPT, writer, set->ifname_id, set->ipv6_addr_id,
                        set->ipv6_dns1_id, set->ipv6_dns2_id, shell_word(ifname).c_str(),
                        dhcp_pid_fname, app_id, msg_id);
    return 0;
}

int uplinkd_ppp_add_user_and_pwd_2_secret(const ppp_cfg_set *cfg) {
    if (cfg == nullptr)
        return -1;
    const char *user = cfg->ppp_user.c_str(), *pwd = cfg->ppp_pwd.c_str();
    if (cfg->ppp_user.empty() || cfg->ppp_pwd.empty()) {
        UPLINKD_TRACE(LOG_REJECTED, "got empty user or pwd");
        return -1;
    }
    if (const char *fault = fault_of_ppp_user(user); fault != nullptr) {
        UPLINKD_TRACE(LOG_REJECTED, "PPPoE user name refused: %s", fault);
        return -1;
    }
    if (const char *fault = fault_of_ppp_password(pwd); fault != nullptr) {
        UPLINKD_TRACE(LOG_REJECTED, "PPPoE password refused: %s", fault);
        return -1;
    }
    for (const char *secrets : {CHAP_SECRETS, PAP_SECRETS})
        uplinkd_file_append_line(secrets, "%s * %s", secrets_word(user).c_str(),
                                 secrets_word(pwd).c_str());
    return 0;
}

int uplinkd_ppp_run_client(const char *ifname, const ppp_cfg_set *cfg, int idx) {
    if (ifname == nullptr || cfg == nullptr)
        return -1;
    prepare_generated(cfg->pid_fname.c_str());
    return uplinkd_file_append_line(
        TMP_SCRIPT, PPPD_START, PPPD, PPPOE, shell_word_in_double_quotes(ifname).c_str(),
        idx + FIRST_UNIT, cfg->ppp_mtu, cfg->ppp_mru, shell_word(cfg->ppp_user.c_str()).c_str(),
        cfg->ip_up_fname.c_str(), cfg->ip_down_fname.c_str(), cfg->ipv6_up_fname.c_str(),
        cfg->ipv6_down_fname.c_str(), cfg->pid_fname.c_str());
}
