// The uplinks that a WAN mode may choose, and what differs between them.
#pragma once

#include <cstring>

#include "platform/network.h"
#include "wan/ifname.h"
#include "wan/modes.h"
#include "wan/wan_record.h"

// The interfaces of the uplinks where no item names another.
#define DEFAULT_WIRED_IFNAME  "eth1"
#define DEFAULT_WLAN24_IFNAME "apcli0"
#define DEFAULT_WLAN58_IFNAME "apclii0"
#define DEFAULT_MOBILE_IFNAME "ccmni1"

// A WAN that a mode uses: the main wired WAN, or a wireless band.
struct uplink {
    char default_ifname[8]; // not by pointers, each of which would cost a relocation
    char iface_type[8];
    bool may_use_ppp; // "linkPPP" counts as an addressing mode
    wan_di_set items;
    int mac_id;        // item of the hardware address
    int connstatus_id; // item of the connection status
};

inline constexpr uplink WIRED_UPLINK = {.default_ifname = DEFAULT_WIRED_IFNAME,
                                        .iface_type = "wired",
                                        .may_use_ppp = true,
                                        .items = wired_record(0),
                                        .mac_id = DI_IFA_WIRED_WAN_MAC,
                                        .connstatus_id = DI_IFA_WIRED_WAN_CONNSTATUS};
inline constexpr uplink WLAN24_UPLINK = {.default_ifname = DEFAULT_WLAN24_IFNAME,
                                         .iface_type = "wifi2g",
                                         .may_use_ppp = false,
                                         .items = WLAN24_RECORD,
                                         .mac_id = DI_IFA_WLAN_WAN_MAC,
                                         .connstatus_id = DI_IFA_WLAN_WAN_CONNSTATUS};
inline constexpr uplink WLAN58_UPLINK = {.default_ifname = DEFAULT_WLAN58_IFNAME,
                                         .iface_type = "wifi5g",
                                         .may_use_ppp = false,
                                         .items = WLAN58_RECORD,
                                         .mac_id = DI_IFA_WLAN_WAN_MAC,
                                         .connstatus_id = DI_IFA_WLAN_WAN_CONNSTATUS};

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
    learned.ifname = item_ifname_or<N>(wan.items.ifname_id, wan.default_ifname);
    learned.ipv4 = item_text<IPV4_TEXT_SIZE>(wan.items.ipv4_addr_id);
    if (learned.ipv4.empty())
        cmd_get_ipv4_address(learned.ifname.c_str(), learned.ipv4.data());
    learned.netmask = item_text<IPV4_TEXT_SIZE>(wan.items.ipv4_netmask_id);
    if (learned.netmask.empty())
        cmd_get_netmask(learned.ifname.c_str(), learned.netmask.data());
    return learned;
}
