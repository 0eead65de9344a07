// The three WAN uplinks side by side: what differs between them is here, and only here.
#pragma once

#include "core/types.h"
#include "state/items.h"

struct uplink {
    const char *default_ifname;
    const char *iface_type;
    bool may_use_ppp; // "linkPPP" counts as an addressing mode
    int netstatus, ifname, type;
    int ipv4, netmask, gateway, dns1, dns2;
    int mac, connstatus;
};

inline constexpr uplink WIRED_UPLINK = {
    .default_ifname = DEFAULT_IFNAME.wired,
    .iface_type = "wired",
    .may_use_ppp = true,
    .netstatus = DI_IFA_WIRED_WAN_NETSTATUS,
    .ifname = DI_IFA_WIRED_WAN_REAL_IFACE,
    .type = DI_IFA_WIRED_WAN_IFACE_TYPE,
    .ipv4 = DI_IFA_WIRED_WAN_IP,
    .netmask = DI_IFA_WIRED_WAN_NETMASK,
    .gateway = DI_IFA_WIRED_WAN_GATEWAY,
    .dns1 = DI_IFA_WIRED_WAN_DNS,
    .dns2 = DI_IFA_WIRED_WAN_DNS2,
    .mac = DI_IFA_WIRED_WAN_MAC,
    .connstatus = DI_IFA_WIRED_WAN_CONNSTATUS,
};

// A Wi-Fi band; the bands share their address items.
constexpr uplink wireless_uplink(const char *default_ifname, const char *iface_type, int netstatus,
                                 int ifname, int type) {
    return {
        .default_ifname = default_ifname,
        .iface_type = iface_type,
        .may_use_ppp = false,
        .netstatus = netstatus,
        .ifname = ifname,
        .type = type,
        .ipv4 = DI_IFA_WLAN_WAN_IP,
        .netmask = DI_IFA_WLAN_WAN_NETMASK,
        .gateway = DI_IFA_WLAN_WAN_GATEWAY,
        .dns1 = DI_IFA_WLAN_WAN_DNS,
        .dns2 = DI_IFA_WLAN_WAN_DNS2,
        .mac = DI_IFA_WLAN_WAN_MAC,
        .connstatus = DI_IFA_WLAN_WAN_CONNSTATUS,
    };
}
inline constexpr uplink WLAN24_UPLINK =
    wireless_uplink(DEFAULT_IFNAME.wlan24, "wifi2g", DI_IFA_WLAN24_WAN_NETSTATUS,
                    DI_IFA_WLAN24_WAN_REAL_IFACE, DI_IFA_WLAN24_WAN_IFACE_TYPE);
inline constexpr uplink WLAN58_UPLINK =
    wireless_uplink(DEFAULT_IFNAME.wlan58, "wifi5g", DI_IFA_WLAN58_WAN_NETSTATUS,
                    DI_IFA_WLAN58_WAN_REAL_IFACE, DI_IFA_WLAN58_WAN_IFACE_TYPE);

// The WAN uplink of a mode; null for the mobile-only mode and for numbers that are no mode.
constexpr const uplink *uplink_of_mode(int wan_mode) {
    if (wan_mode == WAN_MODE_WLAN24)
        return &WLAN24_UPLINK;
    if (wan_mode == WAN_MODE_WLAN58)
        return &WLAN58_UPLINK;
    return is_wired_mode(wan_mode) ? &WIRED_UPLINK : nullptr;
}

// Record an uplink as up or down in its network-status, interface-name and interface-type items,
// where the external script and not the daemon provisions it.
void record_uplink_up(const uplink &wan);
void record_uplink_down(const uplink &wan);
