// Every wired index uses the same item number for a field: index 0 has 201100 plus the number,
// index n has (n + 260) * 1000 plus the number. The wireless bands share all but three items.

#include "wan/wan_record.h"

#include <cstdio>
#include <initializer_list>

#include "base/log_forms.h"
#include "base/text.h"
#include "platform/devinfo_store.h"
#include "wan/items.h"
#include "wan/modes.h"

static constexpr uint32_t wired_base(int idx) {
    return idx == 0 ? 201100u : (static_cast<uint32_t>(idx) + 260u) * 1000u;
}

static constexpr wan_di_set wired_record(int idx) {
    const uint32_t base = wired_base(idx);
    return {{base + 11, base + 12, base + 1},
            {base + 3, base + 2, base + 4, base + 6, base + 7},
            {base + 8, base + 9, base + 10, base + 28}};
}
static_assert(wired_record(0).ifname_id == DI_IFA_WIRED_WAN_REAL_IFACE);
static_assert(wired_record(0).iface_type_id == DI_IFA_WIRED_WAN_IFACE_TYPE);
static_assert(wired_record(0).netstatus_id == DI_IFA_WIRED_WAN_NETSTATUS);
static_assert(wired_record(0).ipv4_netmask_id == DI_IFA_WIRED_WAN_NETMASK);
static_assert(wired_record(0).ipv4_addr_id == DI_IFA_WIRED_WAN_IP);
static_assert(wired_record(0).ipv4_gateway_id == DI_IFA_WIRED_WAN_GATEWAY);
static_assert(wired_record(0).ipv4_dns1_id == DI_IFA_WIRED_WAN_DNS);
static_assert(wired_record(0).ipv4_dns2_id == DI_IFA_WIRED_WAN_DNS2);
static_assert(wired_record(0).ipv6_addr_id == DI_IFA_WIRED_WAN_IPV6_IP);
static_assert(wired_record(0).ipv6_dns1_id == DI_IFA_WIRED_WAN_IPV6_DNS);
static_assert(wired_record(0).ipv6_dns2_id == DI_IFA_WIRED_WAN_IPV6_DNS2);
static_assert(wired_record(0).ipv6_gateway_id == DI_IFA_WIRED_WAN_IPV6_GATEWAY);

static constexpr wan_iface_ids WLAN24 = {DI_IFA_WLAN24_WAN_REAL_IFACE, DI_IFA_WLAN24_WAN_IFACE_TYPE,
                                         DI_IFA_WLAN24_WAN_NETSTATUS};
static constexpr wan_iface_ids WLAN58 = {DI_IFA_WLAN58_WAN_REAL_IFACE, DI_IFA_WLAN58_WAN_IFACE_TYPE,
                                         DI_IFA_WLAN58_WAN_NETSTATUS};
static constexpr wan_ipv4_ids WLAN_IPV4 = {DI_IFA_WLAN_WAN_NETMASK, DI_IFA_WLAN_WAN_IP,
                                           DI_IFA_WLAN_WAN_GATEWAY, DI_IFA_WLAN_WAN_DNS,
                                           DI_IFA_WLAN_WAN_DNS2};
static constexpr wan_ipv6_ids WLAN_IPV6 = {DI_IFA_WLAN_WAN_IPV6_IP, DI_IFA_WLAN_WAN_IPV6_DNS,
                                           DI_IFA_WLAN_WAN_IPV6_DNS2, 0};

int uplinkd_cfg_get_di_wired_by_idx(wan_di_set *set, int idx) {
    if (set == nullptr)
        return -1;
    if (idx < 0 || idx > MAX_RECORD_INDEX) {
        UPLINKD_TRACE(LOG_EVENT, "got invalid wan idx (%d)", idx);
        return -1;
    }
    *set = wired_record(idx);
    return 0;
}

int uplinkd_cfg_get_di_wlan_by_mode(wan_di_set *set, int wan_mode) {
    if (set == nullptr)
        return -1;
    *set = {{}, WLAN_IPV4, WLAN_IPV6};
    wan_iface_ids &iface = *set;
    switch (wan_mode) {
    case WAN_MODE_WLAN24: iface = WLAN24; return 0;
    case WAN_MODE_WLAN58: iface = WLAN58; return 0;
    default: return -1;
    }
}

int uplinkd_cfg_clean_iface_wan_di(const wan_iface_ids *ids) {
    if (ids == nullptr)
        return -1;
    set_devinfo_value_by_id(ids->iface_type_id, "", 1);
    set_devinfo_value_by_id(ids->netstatus_id, "0", 1);
    UPLINKD_TRACE(LOG_ROUTINE, "about to clean iface type(%d), netstatus(%d)", ids->iface_type_id,
                  ids->netstatus_id);
    return 0;
}

int uplinkd_cfg_clean_ipv4_wan_di(const wan_ipv4_ids *ids) {
    if (ids == nullptr)
        return -1;
    for (const uint32_t id : {ids->ipv4_netmask_id, ids->ipv4_addr_id, ids->ipv4_gateway_id,
                              ids->ipv4_dns1_id, ids->ipv4_dns2_id}) {
        if (id == 0)
            continue;
        UPLINKD_TRACE(LOG_ROUTINE, "about to clean v4 di(%d)", id);
        set_devinfo_value_by_id(id, "", 1);
    }
    return 0;
}

int uplinkd_cfg_clean_ipv6_wan_di(const wan_ipv6_ids *ids) {
    if (ids == nullptr)
        return -1;
    for (const uint32_t id :
         {ids->ipv6_addr_id, ids->ipv6_dns1_id, ids->ipv6_dns2_id, ids->ipv6_gateway_id}) {
        if (id == 0)
            continue;
        UPLINKD_TRACE(LOG_ROUTINE, "about to clean v6 di(%d)", id);
        set_devinfo_value_by_id(id, "", 1);
    }
    return 0;
}

int uplinkd_cfg_clean_wan_di(const wan_di_set *set) {
    if (set == nullptr)
        return -1;
    uplinkd_cfg_clean_iface_wan_di(set);
    uplinkd_cfg_clean_ipv4_wan_di(set);
    uplinkd_cfg_clean_ipv6_wan_di(set);
    return 0;
}

int uplinkd_cfg_set_wired_iface_type_by_idx(uint32_t item_id, int idx) {
    if (idx < 0)
        return -1;
    text<16> type;
    snprintf(type.data(), sizeof type.chars, "wired%d", idx);
    set_devinfo_value_by_id(item_id, type.c_str(), type.size());
    return 0;
}
