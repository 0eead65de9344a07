// A PPPoE link on one wired WAN: settings, secrets, the scripts that pppd runs, and its start.
#pragma once

#include <cstdint>

#include "base/text.h"
#include "wan/setting_ranges.h"
#include "wan/wan_record.h"

// What one WAN index's link is started with.
struct ppp_cfg_set {
    text<PPP_ACCOUNT_SIZE> ppp_user;
    text<PPP_ACCOUNT_SIZE> ppp_pwd;
    uint32_t ppp_mtu; // bytes
    uint32_t ppp_mru; // bytes
    text<32> pid_fname;
    text<32> ip_up_fname;
    text<32> ip_down_fname;
    text<32> ipv6_up_fname;
    text<32> ipv6_down_fname;
};

// Prepares everything and queues the start of pppd. Returns 0, -1 for an absent argument.
int uplinkd_ppp_start_on_iface(const char *ifname, int idx, const wan_di_set *set);

// Returns 0, -1 for an absent record.
int uplinkd_ppp_get_cfg_by_idx(ppp_cfg_set *cfg, int idx);

// Write one script at once and queue the command that makes it executable. Return 0, -1 for an
// absent argument.
int uplinkd_ppp_write_ip_up_script(const char *path, const wan_di_set *set, int app_id, int msg_id,
                                   const char *writer);
int uplinkd_ppp_write_ip_down_script(const char *path, const wan_di_set *set, const char *ifname,
                                     int app_id, int msg_id, const char *writer);
int uplinkd_ppp_write_ipv6_up_script(const char *path, const char *dhcp_script,
                                     const char *dhcp_pid_fname, const char *writer);
int uplinkd_ppp_write_ipv6_down_script(const char *path, const wan_di_set *set, const char *ifname,
                                       const char *dhcp_pid_fname, int app_id, int msg_id,
                                       const char *writer);

// Adds the user to both secrets files. Returns 0; -1 for an absent record, an empty name or
// password, or one that the files cannot hold, which the log says.
int uplinkd_ppp_add_user_and_pwd_2_secret(const ppp_cfg_set *cfg);

// Queues the start. Returns the result of the append, -1 for an absent argument.
int uplinkd_ppp_run_client(const char *ifname, const ppp_cfg_set *cfg, int idx);
