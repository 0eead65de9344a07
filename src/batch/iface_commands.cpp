#include "batch/iface_commands.h"

#include "base/log_forms.h"
#include "batch/script_runner.h"
#include "batch/shell_quote.h"

int uplinkd_iface_set_addrv4(const char *ifname, const char *address, const char *netmask) {
    if (ifname == nullptr || address == nullptr || netmask == nullptr)
        return -1;
    uplinkd_file_append_line(TMP_SCRIPT, "ip -4 address add %s/%s dev %s",
                             shell_word(address).c_str(), shell_word(netmask).c_str(),
                             shell_word(ifname).c_str());
    UPLINKD_TRACE(LOG_ROUTINE, "finish set addr(%s)/mask(%s) to iface(%s)", address, netmask,
                  ifname);
    return 0;
}

int uplinkd_iface_clean_addrv4(const char *ifname) {
    if (ifname == nullptr)
        return -1;
    if (*ifname == '\0') {
        UPLINKD_TRACE(LOG_ROUTINE, "skip clean address due to empty ifname");
        return 0;
    }
    uplinkd_file_append_line(TMP_SCRIPT, "ip -4 address flush %s &>/dev/null",
                             shell_word(ifname).c_str());
    UPLINKD_TRACE(LOG_ROUTINE, "finish clean address on iface (%s)", ifname);
    return 0;
}

int uplinkd_iface_clean_global_addrv6(const char *ifname) {
    if (ifname == nullptr)
        return -1;
    if (*ifname == '\0') {
        UPLINKD_TRACE(LOG_ROUTINE, "skip clean global address due to empty ifname");
        return 0;
    }
    uplinkd_file_append_line(TMP_SCRIPT, "ip -6 address flush scope global dev %s &>/dev/null",
                             shell_word(ifname).c_str());
    UPLINKD_TRACE(LOG_ROUTINE, "finish clean global address on iface (%s)", ifname);
    return 0;
}
