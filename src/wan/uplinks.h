// The three WAN uplinks side by side: what differs between them is here, and only here.
#pragma once

#include <cstring>

#include "platform/network.h"
#include "wan/ifname.h"
#include "wan/items.h"
#include "wan/modes.h"

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

// Whether an uplink in the IPv4 mode IPMODE (the setting's text) learns its address from a server;
// otherwise the settings hold it.
inline bool learns_address(const uplink &wan, const char *ipmode) {
    return strcmp(ipmode, "dhcp") == 0 || (wan.may_use_ppp && strcmp(ipmode, "linkPPP") == 0);
}

// What is known of a learned address: from the items, else from the interface itself. N is the
// size of the buffer that the interface name is read into.
template <int N> struct learned_address {
    text<N> ifname;
    text<IPV4_TEXT_SIZE> ipv4, netmask;
};
template <int N> learned_address<N> read_learned_address(const uplink &wan) {
    learned_address<N> learned = {};
    learned.ifname = item_ifname_or<N>(wan.ifname, wan.default_ifname);
    learned.ipv4 = item_text<IPV4_TEXT_SIZE>(wan.ipv4);
    if (learned.ipv4.empty())
        cmd_get_ipv4_address(learned.ifname.c_str(), learned.ipv4.data());
    learned.netmask = item_text<IPV4_TEXT_SIZE>(wan.netmask);
    if (learned.netmask.empty())
        cmd_get_netmask(learned.ifname.c_str(), learned.netmask.data());
    return learned;
}

// Record an uplink as up or down in its network-status, interface-name and interface-type items.
void record_uplink_up(const uplink &wan);
void record_uplink_down(const uplink &wan);
