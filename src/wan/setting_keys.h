// The settings that the daemon reads. It reads each one anew whenever it needs it.
#pragma once

#include <cstdio>

#include "base/text.h"

// What the router does with its uplinks.
inline constexpr char USR_WAN_MODE[] = "USR_WAN_MODE";
inline constexpr char USR_WAN_COMMUNICATION_PRIORITY_STRATEGY[] =
    "USR_WAN_COMMUNICATION_PRIORITY_STRATEGY";
inline constexpr char USR_WAN_LINK_DETECT_SW[] = "USR_WAN_LINK_DETECT_SW";
inline constexpr char USR_FLOW_SMS_NOTICE_DELAY[] = "USR_FLOW_SMS_NOTICE_DELAY"; // minutes, 1 to 60
inline constexpr char SYS_REBOOT_WHEN_MODEM_UNORMAL[] = "SYS_REBOOT_WHEN_MODEM_UNORMAL";
inline constexpr char USR_APN_PDP_TYPE[] = "USR_APN_PDP_TYPE";
inline constexpr char SYS_WIRED_WAN_SUB_PORT_NUM[] = "SYS_WIRED_WAN_SUB_PORT_NUM";

// One for each WAN index, see key_of_index. The connection status, the PPPoE status change and the
// external script's set-up check compare index 0's USR_WAN_IPMODE with "dhcp" and "linkPPP" in just
// this case; bring-up takes any case.
inline constexpr char USR_WAN_IPVERSION[] = "USR_WAN_IPVERSION";
inline constexpr char USR_WAN_IPMODE[] = "USR_WAN_IPMODE";
inline constexpr char USR_WAN_V6_IPMODE[] = "USR_WAN_V6_IPMODE";
inline constexpr char USR_WAN_IPADDR_V4[] = "USR_WAN_IPADDR_V4";
inline constexpr char USR_WAN_SUBMASK_V4[] = "USR_WAN_SUBMASK_V4";
inline constexpr char USR_WAN_GATEWAY_V4[] = "USR_WAN_GATEWAY_V4";
inline constexpr char USR_WAN_FIRSTDNS_V4[] = "USR_WAN_FIRSTDNS_V4";
inline constexpr char USR_WAN_SECDNS_V4[] = "USR_WAN_SECDNS_V4";
inline constexpr char USR_WAN_PPPOE_USERNAME[] = "USR_WAN_PPPOE_USERNAME";
inline constexpr char USR_WAN_PPPOE_PASSWORD[] = "USR_WAN_PPPOE_PASSWORD";
inline constexpr char USR_WAN_MTU[] = "USR_WAN_MTU";
inline constexpr char USR_WAN_MRU[] = "USR_WAN_MRU";

// One for each WAN index, see always_indexed_key.
inline constexpr char USR_WIRED_WAN_SW[] = "USR_WIRED_WAN_SW";
inline constexpr char USR_WIRED_WAN_VLAN_ID[] = "USR_WIRED_WAN_VLAN_ID";

// The LAN side: which subnets there are, then one of each for each LAN index (key_of_index) and
// VLAN index (always_indexed_key).
inline constexpr char SYS_BRIDGE_VLAN_MASK[] = "SYS_BRIDGE_VLAN_MASK"; // hexadecimal
inline constexpr char USR_DHCP_SERVER_SW[] = "USR_DHCP_SERVER_SW";
inline constexpr char USR_DHCP_LAN_IP[] = "USR_DHCP_LAN_IP";
inline constexpr char USR_DHCP_SUBNET_MASK[] = "USR_DHCP_SUBNET_MASK";
inline constexpr char SYS_VLAN_DHCP_SERVER_SW[] = "SYS_VLAN_DHCP_SERVER_SW";
inline constexpr char SYS_VLAN_DHCP_IP[] = "SYS_VLAN_DHCP_IP";
inline constexpr char SYS_VLAN_DHCP_SUBNET_MASK[] = "SYS_VLAN_DHCP_SUBNET_MASK";

using setting_key = text<32>;

// KEY_<idx>.
inline setting_key always_indexed_key(const char *key, int idx) {
    setting_key indexed;
    snprintf(indexed.data(), sizeof indexed.chars, "%s_%d", key, idx);
    return indexed;
}

// The bare KEY for index 0, KEY_<idx> otherwise.
inline setting_key key_of_index(const char *key, int idx) {
    return idx == 0 ? to_text<32>(key) : always_indexed_key(key, idx);
}
