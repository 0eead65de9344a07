#include "wan/wan_record.h"

#include <cstdio>
#include <initializer_list>

#include "base/log_forms.h"
#include "base/text.h"
#include "platform/devinfo_store.h"
#include "wan/modes.h"

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
    switch (wan_mode) {
    case WAN_MODE_WLAN24: *set = WLAN24_RECORD; return 0;
    case WAN_MODE_WLAN58: *set = WLAN58_RECORD; return 0;
    default: *set = wireless_record({}); return -1;
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
