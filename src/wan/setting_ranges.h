// The values that settings may have, as the daemon decides on them and uplinkctl tells of them.
#pragma once

#include <cstddef>
#include <cstring>

#include "wan/modes.h"

struct number_range {
    int least, most;
    constexpr bool holds(int number) const { return number >= least && number <= most; }
};

// How long mobile priority has to last before the user is told.
inline constexpr number_range NOTICE_MINUTES = {.least = 1, .most = 60};

inline constexpr number_range VLAN_IDS = {.least = 10, .most = 4095};

// Only the main wired WAN may run untagged.
constexpr bool is_vlan_id_of_index(int vlan_id, int idx) {
    if (vlan_id == 0 && idx == 0)
        return true;
    return VLAN_IDS.holds(vlan_id);
}

// Networks of the LAN, and of the VLANs.
inline constexpr int SUBNETS_PER_SIDE = 16;

// SYS_BRIDGE_VLAN_MASK, with its NUL: more digits than count.
inline constexpr int BRIDGE_MASK_SIZE = 32;

// A PPPoE user name or password, with its NUL.
inline constexpr int PPP_ACCOUNT_SIZE = 32;

template <typename enumeration> struct named_value {
    char name[8];
    enumeration value;
};

// By the setting's text in small letters.
inline constexpr named_value<uplinkd_ip_version> IP_VERSIONS[] = {
    {"ipv4v6", IPVER_V4V6}, {"ipv4", IPVER_V4}, {"ipv6", IPVER_V6}};
inline constexpr named_value<uplinkd_ipmode> IPV4_MODES[] = {
    {"dhcp", IPMODE_DHCP}, {"static", IPMODE_STATIC}, {"linkppp", IPMODE_LINKPPP}};

// By the number that the setting holds.
inline constexpr uplinkd_ipmode IPV6_MODES[] = {IPMODE_NONE,  IPMODE_STATEFUL, IPMODE_STATELESS,
                                                IPMODE_SLAAC, IPMODE_STATIC,   IPMODE_LINKPPP};
inline constexpr int LAST_IPV6_MODE = sizeof IPV6_MODES / sizeof *IPV6_MODES - 1;

template <typename enumeration, size_t N>
enumeration value_of_name(const named_value<enumeration> (&table)[N], const char *name,
                          enumeration fallback) {
    for (const auto &entry : table) {
        if (strcmp(entry.name, name) == 0)
            return entry.value;
    }
    return fallback;
}

// Whether an IPv6 address is enough for the mobile network to count as connected.
inline bool is_ipv6_pdp_type(const char *pdp_type) {
    return strcmp(pdp_type, "IPV6") == 0 || strcmp(pdp_type, "IPV4V6") == 0;
}
