// The device-information items that the daemon reads and writes. A status item counts as up when
// its first character is '1'; an empty item means that nothing is known. Those of the additional
// wired WANs follow from index 0's, see wired_item().
#pragma once

// Who writes an item: other programs of the router, the daemon, its clients' scripts (the daemon
// then empties it), or, at different times, a program of the router and daemon or script.
enum class item_writer { router, daemon, client, shared };

// ITEM(constant, number, writer, meaning)
// clang-format off
#define UPLINKD_ITEMS(ITEM)                                                                        \
    /* Modem indicators. */                                                                        \
    ITEM(DI_MODEM_ABNORMAL_1, 101011, router, "1: the modem is abnormal (first indicator)")        \
    ITEM(DI_MODEM_ABNORMAL_2, 101018, router, "1: the modem is abnormal (second indicator)")       \
    /* The mobile network. */                                                                      \
    ITEM(DI_IFA_MOBILE_NETSTATUS, 201001, router, "1: the mobile network is up")                   \
    ITEM(DI_IFA_MOBILE_REAL_IFACE, 201002, router, "its interface; ccmni1 where empty")            \
    ITEM(DI_IFA_MOBILE_IP, 201004, router, "its IPv4 address")                                     \
    ITEM(DI_IFA_MOBILE_DNS, 201007, router, "its first DNS server")                                \
    ITEM(DI_IFA_MOBILE_DNS2, 201008, router, "its second DNS server")                              \
    ITEM(DI_IFA_MOBILE_IPV6_IP, 201009, router, "its IPv6 address")                                \
    ITEM(DI_IFA_MOBILE_CONNSTATUS, 201036, daemon, "1: the mobile network is connected")           \
    /* The wired WAN, index 0. (The netmask lies above the address.) */                            \
    ITEM(DI_IFA_WIRED_WAN_NETSTATUS, 201101, daemon, "1: the WAN has been brought up")             \
    ITEM(DI_IFA_WIRED_WAN_IP, 201102, client, "its IPv4 address")                                  \
    ITEM(DI_IFA_WIRED_WAN_NETMASK, 201103, client, "its netmask")                                  \
    ITEM(DI_IFA_WIRED_WAN_GATEWAY, 201104, client, "its gateway")                                  \
    ITEM(DI_IFA_WIRED_WAN_MAC, 201105, daemon, "its hardware address")                             \
    ITEM(DI_IFA_WIRED_WAN_DNS, 201106, client, "its first DNS server")                             \
    ITEM(DI_IFA_WIRED_WAN_DNS2, 201107, client, "its second DNS server")                           \
    ITEM(DI_IFA_WIRED_WAN_IPV6_IP, 201108, client, "its IPv6 address")                             \
    ITEM(DI_IFA_WIRED_WAN_IPV6_DNS, 201109, client, "its first IPv6 DNS server")                   \
    ITEM(DI_IFA_WIRED_WAN_IPV6_DNS2, 201110, client, "its second IPv6 DNS server")                 \
    ITEM(DI_IFA_WIRED_WAN_REAL_IFACE, 201111, shared, "its interface; eth1 where empty")           \
    ITEM(DI_IFA_WIRED_WAN_IFACE_TYPE, 201112, daemon, "wired0, and so on by index")                \
    ITEM(DI_IFA_WIRED_WAN_CONNSTATUS, 201113, daemon, "1: the WAN is connected")                   \
    ITEM(DI_IFA_WAN_PRIORITY, 201114, daemon, "who has priority: 0 mobile network, 1 WAN")         \
    ITEM(DI_IFA_WIRED_WAN_IPV6_GATEWAY, 201128, client, "its IPv6 gateway")                        \
    /* The wireless WAN. The two bands share all but interface name, type and network status. */   \
    ITEM(DI_IFA_WLAN24_WAN_NETSTATUS, 201201, daemon, "1: the 2.4 GHz WAN has been brought up")    \
    ITEM(DI_IFA_WLAN58_WAN_NETSTATUS, 201202, daemon, "1: the 5.8 GHz WAN has been brought up")    \
    ITEM(DI_IFA_WLAN_WAN_IP, 201203, client, "its IPv4 address")                                   \
    ITEM(DI_IFA_WLAN_WAN_NETMASK, 201204, client, "its netmask")                                   \
    ITEM(DI_IFA_WLAN_WAN_GATEWAY, 201205, client, "its gateway")                                   \
    ITEM(DI_IFA_WLAN_WAN_MAC, 201206, daemon, "its hardware address")                              \
    ITEM(DI_IFA_WLAN_WAN_DNS, 201207, client, "its first DNS server")                              \
    ITEM(DI_IFA_WLAN_WAN_DNS2, 201208, client, "its second DNS server")                            \
    ITEM(DI_IFA_WLAN_WAN_IPV6_IP, 201209, client, "its IPv6 address")                              \
    ITEM(DI_IFA_WLAN_WAN_IPV6_DNS, 201210, client, "its first IPv6 DNS server")                    \
    ITEM(DI_IFA_WLAN_WAN_IPV6_DNS2, 201211, client, "its second IPv6 DNS server")                  \
    ITEM(DI_IFA_WLAN24_WAN_REAL_IFACE, 201212, shared, "2.4 GHz interface; apcli0 where empty")    \
    ITEM(DI_IFA_WLAN58_WAN_REAL_IFACE, 201213, shared, "5.8 GHz interface; apclii0 where empty")   \
    ITEM(DI_IFA_WLAN24_WAN_IFACE_TYPE, 201214, daemon, "wifi2g")                                   \
    ITEM(DI_IFA_WLAN58_WAN_IFACE_TYPE, 201215, daemon, "wifi5g")                                   \
    ITEM(DI_IFA_WLAN_WAN_CONNSTATUS, 201216, daemon, "1: the wireless WAN is connected")           \
    ITEM(DI_IFA_WLAN24_LINK_STATUS, 201217, router, "link on 2.4 GHz: a number, 4 = linked")       \
    ITEM(DI_IFA_WLAN58_LINK_STATUS, 201218, router, "link on 5.8 GHz: a number, 4 = linked")       \
    /* The switch. */                                                                              \
    ITEM(DI_PORT_STATUS_LIST, 200001, router, "the switch's ports, 0,0,0,1,0,0,0,0: 1 = link")     \
    ITEM(DI_WAN_PORT_INDEX, 230002, router, "which port is the WAN's, 0 to 7; 3 where empty")
// clang-format on

#define UPLINKD_ITEM_CONSTANT(name, id, writer, meaning) inline constexpr int name = id;
UPLINKD_ITEMS(UPLINKD_ITEM_CONSTANT)
#undef UPLINKD_ITEM_CONSTANT

inline constexpr int WLAN_LINKED = 4; // DI_IFA_WLAN24_LINK_STATUS and DI_IFA_WLAN58_LINK_STATUS

// The item of wired WAN IDX (0 to 7) for what ITEM is of index 0: the same number in a thousand of
// its own, so that WAN 2's address is item 262002. (No such item for hardware address and
// connection status.)
constexpr int wired_item(int item, int idx) {
    return idx == 0 ? item : (idx + 260) * 1000 + item - 201100;
}
