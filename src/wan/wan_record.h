// The items that describe one WAN interface, gathered so that everything else is written once for
// all WANs: the wired ones, index 0 to 7, and the two wireless bands.
#pragma once

#include <cstdint>

#include "wan/items.h"

struct wan_iface_ids {
    uint32_t ifname_id;
    uint32_t iface_type_id;
    uint32_t netstatus_id;
};

// In the order in which the DHCPv4 lease script takes them.
struct wan_ipv4_ids {
    uint32_t ipv4_netmask_id;
    uint32_t ipv4_addr_id;
    uint32_t ipv4_gateway_id;
    uint32_t ipv4_dns1_id;
    uint32_t ipv4_dns2_id;
};

// In the order in which the DHCPv6 lease scripts take them.
struct wan_ipv6_ids {
    uint32_t ipv6_addr_id;
    uint32_t ipv6_dns1_id;
    uint32_t ipv6_dns2_id;
    uint32_t ipv6_gateway_id;
};

// Twelve item IDs; 0 where the WAN has no such item. A pointer to the record serves as a pointer to
// any of its groups.
struct wan_di_set : wan_iface_ids, wan_ipv4_ids, wan_ipv6_ids {};
static_assert(sizeof(wan_di_set) == 12 * sizeof(uint32_t));

constexpr wan_di_set wired_record(int idx) {
    const auto item = [idx](int of_index_0) {
        return static_cast<uint32_t>(wired_item(of_index_0, idx));
    };
    return {{item(DI_IFA_WIRED_WAN_REAL_IFACE), item(DI_IFA_WIRED_WAN_IFACE_TYPE),
             item(DI_IFA_WIRED_WAN_NETSTATUS)},
            {item(DI_IFA_WIRED_WAN_NETMASK), item(DI_IFA_WIRED_WAN_IP),
             item(DI_IFA_WIRED_WAN_GATEWAY), item(DI_IFA_WIRED_WAN_DNS),
             item(DI_IFA_WIRED_WAN_DNS2)},
            {item(DI_IFA_WIRED_WAN_IPV6_IP), item(DI_IFA_WIRED_WAN_IPV6_DNS),
             item(DI_IFA_WIRED_WAN_IPV6_DNS2), item(DI_IFA_WIRED_WAN_IPV6_GATEWAY)}};
}

// The wireless bands share all but their first group, and have no IPv6 gateway.
constexpr wan_di_set wireless_record(const wan_iface_ids &band) {
    return {band,
            {DI_IFA_WLAN_WAN_NETMASK, DI_IFA_WLAN_WAN_IP, DI_IFA_WLAN_WAN_GATEWAY,
             DI_IFA_WLAN_WAN_DNS, DI_IFA_WLAN_WAN_DNS2},
            {DI_IFA_WLAN_WAN_IPV6_IP, DI_IFA_WLAN_WAN_IPV6_DNS, DI_IFA_WLAN_WAN_IPV6_DNS2, 0}};
}
inline constexpr wan_di_set WLAN24_RECORD = wireless_record(
    {DI_IFA_WLAN24_WAN_REAL_IFACE, DI_IFA_WLAN24_WAN_IFACE_TYPE, DI_IFA_WLAN24_WAN_NETSTATUS});
inline constexpr wan_di_set WLAN58_RECORD = wireless_record(
    {DI_IFA_WLAN58_WAN_REAL_IFACE, DI_IFA_WLAN58_WAN_IFACE_TYPE, DI_IFA_WLAN58_WAN_NETSTATUS});

// Fill the record of wired WAN IDX (0 to 7) or of the wireless WAN of WAN_MODE (3 or 4). Return 0,
// or -1: for an index out of range with the record untouched, for another mode with the band's own
// three IDs at 0.
int uplinkd_cfg_get_di_wired_by_idx(wan_di_set *set, int idx);
int uplinkd_cfg_get_di_wlan_by_mode(wan_di_set *set, int wan_mode);

// Clear the items of a record or of one of its groups; of the first, the type is emptied, the
// network status set to 0, and the interface name kept. Return 0, or -1 for a null pointer.
int uplinkd_cfg_clean_iface_wan_di(const wan_iface_ids *ids);
int uplinkd_cfg_clean_ipv4_wan_di(const wan_ipv4_ids *ids);
int uplinkd_cfg_clean_ipv6_wan_di(const wan_ipv6_ids *ids);
int uplinkd_cfg_clean_wan_di(const wan_di_set *set);

// Writes "wired<idx>" to ITEM_ID. Returns 0, or -1 for a negative index.
int uplinkd_cfg_set_wired_iface_type_by_idx(uint32_t item_id, int idx);
