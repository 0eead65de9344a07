#include "provision/clients/client_files.h"

#include <cstdio>
#include <unistd.h>

#include "base/log_forms.h"
#include "base/text.h"
#include "batch/generated_files.h"
#include "batch/script_runner.h"
#include "wan/modes.h"

using pid_fname = text<32>;

// A program's file for one IP version; the empty text for any other version.
static void dhcpc_fname(char *buffer, int size, const char *name, int idx,
                        uplinkd_ip_version ip_version, const char *suffix) {
    if (buffer == nullptr || size <= 0)
        return;
    buffer[0] = '\0';
    if (name == nullptr || (ip_version != IPVER_V4 && ip_version != IPVER_V6))
        return;
    snprintf(buffer, static_cast<size_t>(size), "/tmp/.%s_v%c_wan%d.%s", name,
             ip_version == IPVER_V4 ? '4' : '6', idx, suffix);
}

void uplinkd_dhcpc_get_pid_fname_by_idx(char *buffer, int size, const char *name, int idx,
                                        uplinkd_ip_version ip_version) {
    dhcpc_fname(buffer, size, name, idx, ip_version, "pid");
}

void uplinkd_dhcpc_get_script_fname_by_idx(char *buffer, int size, const char *name, int idx,
                                           uplinkd_ip_version ip_version) {
    dhcpc_fname(buffer, size, name, idx, ip_version, "script");
}

int uplinkd_ppp_get_pid_fname_by_idx(char *buffer, int size, int idx, const char *name) {
    if (buffer == nullptr || name == nullptr || size <= 0)
        return -1;
    snprintf(buffer, static_cast<size_t>(size), "/tmp/.%s_wan%d_ppp.pid", name, idx);
    return 0;
}

int uplinkd_ppp_get_script_fname_by_idx(char *buffer, int size, int idx,
                                        uplinkd_ip_version ip_version,
                                        ppp_script_type script_type) {
    if (buffer == nullptr || size <= 0)
        return -1;
    if (ip_version != IPVER_V4 && ip_version != IPVER_V6) {
        UPLINKD_TRACE(LOG_REJECTED, "got invalid ip version");
        return -1;
    }
    if (script_type != PPP_SCRIPT_UP && script_type != PPP_SCRIPT_DOWN) {
        UPLINKD_TRACE(LOG_REJECTED, "got invalid ppp script type");
        return -1;
    }
    snprintf(buffer, static_cast<size_t>(size), "%s-%s_wan%d",
             ip_version == IPVER_V4 ? "/tmp/.ip" : "/tmp/.ipv6",
             script_type == PPP_SCRIPT_UP ? "up" : "down", idx);
    return 0;
}

void write_client_script(const char *path, const char *script_template, ...) {
    va_list args;
    va_start(args, script_template);
    write_script(path, script_template, args);
    va_end(args);
    uplinkd_file_append_line(TMP_SCRIPT, "chmod 777 %s >/dev/null 2>&1", path);
}

int uplinkd_dhcpcv4_kill_client() {
    return uplinkd_file_append_line(TMP_SCRIPT, "killall %s >/dev/null 2>&1", UDHCPC);
}

int uplinkd_dhcpcv6_kill_client() {
    uplinkd_file_append_line(TMP_SCRIPT, "killall %s >/dev/null 2>&1", UDHCPC6);
    uplinkd_file_append_line(TMP_SCRIPT, "ip6tables -t nat -F POSTROUTING >/dev/null 2>&1");
    return 0;
}

int uplinkd_dhcpc_kill_clients() {
    uplinkd_dhcpcv4_kill_client();
    uplinkd_dhcpcv6_kill_client();
    return 0;
}

int uplinkd_ppp_clean_secrets() {
    uplinkd_file_truncate(CHAP_SECRETS);
    uplinkd_file_truncate(PAP_SECRETS);
    return 0;
}

int uplinkd_ppp_kill_client() {
    uplinkd_ppp_clean_secrets();
    return uplinkd_file_append_line(TMP_SCRIPT, "killall %s 2>/dev/null", PPPD);
}

int uplinkd_dhcpc_clean_unuse_files_by_idx(int idx) {
    if (!is_wan_index(idx)) {
        UPLINKD_TRACE(LOG_EVENT, "got invalid wan idx(%d)", idx);
        return -1;
    }
    pid_fname fname;
    uplinkd_dhcpc_get_pid_fname_by_idx(fname.data(), fname.size(), UDHCPC, idx, IPVER_V4);
    unlink(fname.c_str());
    fname = {};
    uplinkd_dhcpc_get_pid_fname_by_idx(fname.data(), fname.size(), UDHCPC6, idx, IPVER_V6);
    if (unlink(fname.c_str()) == 0)
        prepare_generated(fname.c_str()); // a PPP link's down script looks there yet
    return 0;
}

int uplinkd_ppp_clean_unuse_files_by_idx(int idx) {
    if (!is_wan_index(idx)) {
        UPLINKD_TRACE(LOG_EVENT, "got invalid wan idx(%d)", idx);
        return -1;
    }
    pid_fname fname;
    uplinkd_ppp_get_pid_fname_by_idx(fname.data(), fname.size(), idx, PPPD);
    unlink(fname.c_str());
    return 0;
}
