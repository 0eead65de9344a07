// The device-information items that the daemon reads and writes. A status item counts as up when
// its first character is '1'; an empty item means that nothing is known. Those of the additional
// wired WANs follow from index 0's, see wired_item().
#pragma once

// Modem indicators, '1' = abnormal. Written by the router.
inline constexpr int DI_MODEM_ABNORMAL_1 = 101011;
inline constexpr int DI_MODEM_ABNORMAL_2 = 101018;

// Link inputs. Written by the router.
inline constexpr int DI_PORT_STATUS_LIST = 200001;       // "%d,...", eight switch ports, 1 = link
inline constexpr int DI_WAN_PORT_INDEX = 230002;         // which of them is the WAN port, 0 to 7
inline constexpr int DI_IFA_WLAN24_LINK_STATUS = 201217; // a number, 4 = linked
inline constexpr int DI_IFA_WLAN58_LINK_STATUS = 201218;
inline constexpr int WLAN_LINKED = 4;

// The mobile network. Written by the router.
inline constexpr int DI_IFA_MOBILE_NETSTATUS = 201001;
inline constexpr int DI_IFA_MOBILE_REAL_IFACE = 201002;
inline constexpr int DI_IFA_MOBILE_IP = 201004;
inline constexpr int DI_IFA_MOBILE_DNS = 201007;
inline constexpr int DI_IFA_MOBILE_DNS2 = 201008;
inline constexpr int DI_IFA_MOBILE_IPV6_IP = 201009;

// Verdicts and arbitration.
inline constexpr int DI_IFA_MOBILE_CONNSTATUS = 201036;
inline constexpr int DI_IFA_WIRED_WAN_CONNSTATUS = 201113;
inline constexpr int DI_IFA_WLAN_WAN_CONNSTATUS = 201216;
inline constexpr int DI_IFA_WAN_PRIORITY = 201114; // "0" mobile network, "1" WAN

// The wired WAN, index 0. (The netmask lies above the address.)
inline constexpr int DI_IFA_WIRED_WAN_NETSTATUS = 201101;
inline constexpr int DI_IFA_WIRED_WAN_IP = 201102;
inline constexpr int DI_IFA_WIRED_WAN_NETMASK = 201103;
inline constexpr int DI_IFA_WIRED_WAN_GATEWAY = 201104;
inline constexpr int DI_IFA_WIRED_WAN_MAC = 201105;
inline constexpr int DI_IFA_WIRED_WAN_DNS = 201106;
inline constexpr int DI_IFA_WIRED_WAN_DNS2 = 201107;
inline constexpr int DI_IFA_WIRED_WAN_IPV6_IP = 201108;
inline constexpr int DI_IFA_WIRED_WAN_IPV6_DNS = 201109;
inline constexpr int DI_IFA_WIRED_WAN_IPV6_DNS2 = 201110;
inline constexpr int DI_IFA_WIRED_WAN_REAL_IFACE = 201111;
inline constexpr int DI_IFA_WIRED_WAN_IFACE_TYPE = 201112;
inline constexpr int DI_IFA_WIRED_WAN_IPV6_GATEWAY = 201128;

// The item of wired WAN IDX (0 to 7) for what ITEM is of index 0: the same number in a thousand of
// its own, so that WAN 2's address is item 262002. (No such item for hardware address and
// connection status.)
constexpr int wired_item(int item, int idx) {
    return idx == 0 ? item : (idx + 260) * 1000 + item - 201100;
}

// The wireless WAN. The two bands share all but interface name, type and network status.
inline constexpr int DI_IFA_WLAN24_WAN_NETSTATUS = 201201;
inline constexpr int DI_IFA_WLAN58_WAN_NETSTATUS = 201202;
inline constexpr int DI_IFA_WLAN_WAN_IP = 201203;
inline constexpr int DI_IFA_WLAN_WAN_NETMASK = 201204;
inline constexpr int DI_IFA_WLAN_WAN_GATEWAY = 201205;
inline constexpr int DI_IFA_WLAN_WAN_MAC = 201206;
inline constexpr int DI_IFA_WLAN_WAN_DNS = 201207;
inline constexpr int DI_IFA_WLAN_WAN_DNS2 = 201208;
inline constexpr int DI_IFA_WLAN_WAN_IPV6_IP = 201209;
inline constexpr int DI_IFA_WLAN_WAN_IPV6_DNS = 201210;
inline constexpr int DI_IFA_WLAN_WAN_IPV6_DNS2 = 201211;
inline constexpr int DI_IFA_WLAN24_WAN_REAL_IFACE = 201212;
inline constexpr int DI_IFA_WLAN58_WAN_REAL_IFACE = 201213;
inline constexpr int DI_IFA_WLAN24_WAN_IFACE_TYPE = 201214;
inline constexpr int DI_IFA_WLAN58_WAN_IFACE_TYPE = 201215;
