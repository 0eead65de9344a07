// The files of the address clients, and how clients are stopped. Stops are queued into the batch
// that is being built; files are removed at once.
#pragma once

#include "base/text.h"
#include "batch/script_runner.h"
#include "wan/modes.h"

inline constexpr const char *UDHCPC = "udhcpc";
inline constexpr const char *UDHCPC6 = "udhcpc6";
inline constexpr const char *PPPD = "pppd";

inline constexpr const char *CHAP_SECRETS = SECRETS_FOLDER "chap-secrets";
inline constexpr const char *PAP_SECRETS = SECRETS_FOLDER "pap-secrets";

enum ppp_script_type : int {
    PPP_SCRIPT_UP = 1,
    PPP_SCRIPT_DOWN = 2,
};

// Names of a DHCP client's files, cut to SIZE - 1 characters. An absent program name or an IP
// version other than 4 and 6 gives the empty text.
void uplinkd_dhcpc_get_pid_fname_by_idx(char *buffer, int size, const char *name, int idx,
                                        uplinkd_ip_version ip_version);
void uplinkd_dhcpc_get_script_fname_by_idx(char *buffer, int size, const char *name, int idx,
                                           uplinkd_ip_version ip_version);

// Both names of a DHCP client of WAN IDX.
struct dhcp_client_fnames {
    text<64> pid, script;

    dhcp_client_fnames(const char *name, int idx, uplinkd_ip_version ip_version) {
        uplinkd_dhcpc_get_pid_fname_by_idx(pid.data(), pid.size(), name, idx, ip_version);
        uplinkd_dhcpc_get_script_fname_by_idx(script.data(), script.size(), name, idx, ip_version);
    }
};

// Names of a PPP client's files. Return 0; -1 for an absent or invalid argument, with the buffer
// untouched.
int uplinkd_ppp_get_pid_fname_by_idx(char *buffer, int size, int idx, const char *name);
int uplinkd_ppp_get_script_fname_by_idx(char *buffer, int size, int idx,
                                        uplinkd_ip_version ip_version, ppp_script_type script_type);

// Puts the expansion of SCRIPT_TEMPLATE into the script at PATH, at once, and queues the command
// that makes it executable.
[[gnu::format(printf, 2, 3)]] void write_client_script(const char *path,
                                                       const char *script_template, ...);

int uplinkd_dhcpcv4_kill_client();
int uplinkd_dhcpcv6_kill_client(); // and drop the IPv6 masquerading rules
int uplinkd_dhcpc_kill_clients();
int uplinkd_ppp_clean_secrets(); // at once
int uplinkd_ppp_kill_client();   // and empty the secrets, at once

// Remove the pid files that clients of WAN IDX left behind. Return 0, -1 for an index outside 0
// to 8.
int uplinkd_dhcpc_clean_unuse_files_by_idx(int idx);
int uplinkd_ppp_clean_unuse_files_by_idx(int idx);
