// The table of the settings, and their keys as constants: USR_WAN_MODE holds "USR_WAN_MODE". The
// daemon reads each setting anew whenever it needs it.
//
// A row of the table, of which the daemon itself uses only the key:
//
//   SETTING(key,
//           which indexes it has, what values it takes, its default,
//           what becomes of a value out of that range (empty: it counts as another one),
//           what it does)
//
// tools/known_settings.cpp has the words of the second line. uplinkctl describes and checks by all
// of it, and uplinkd-settings(5) is written from what uplinkctl says (packaging/man/write_pages).
// In the last text, a line of its own says what one value does, and what is in single quotes is
// written just so.
#pragma once

#include <cstdio>

#include "base/text.h"

// clang-format off
#define UPLINKD_SETTINGS(SETTING)                                                                  \
    /* Which uplink. */                                                                            \
    SETTING(USR_WAN_MODE,                                                                          \
            ONCE, number(WAN_MODE_MOBILE, WAN_MODE_BRIDGE_MIX), "none",                            \
            "no WAN is brought up, and the mobile network has priority",                           \
            "Which uplinks the router has:\n"                                                      \
            "1: the mobile network\n"                                                              \
            "2: the wired WAN\n"                                                                   \
            "3: the WAN over Wi-Fi on 2.4 GHz\n"                                                   \
            "4: the WAN over Wi-Fi on 5.8 GHz\n"                                                   \
            "5: mobile network and wired WAN, of which one has priority by the strategy\n"         \
            "6: mobile network and wired WAN, bridged: the WAN has priority\n"                     \
            "7: mobile network and wired WAN, bridged, priority by the strategy; the WAN keeps "   \
            "its IPv4 addresses when its cable is pulled out\n"                                    \
            "In the modes 6 and 7, an overlap with the LAN does not reset the WAN where the "      \
            "router has a WAN mode script of its own.")                                            \
    SETTING(USR_WAN_COMMUNICATION_PRIORITY_STRATEGY,                                               \
            ONCE, number(PRIORITY_STRATEGY_MOBILE_FIRST, PRIORITY_STRATEGY_WAN_FIRST), "0",        \
            "the mobile network has priority",                                                     \
            "In the modes 5 and 7: 0 prefers the mobile network, 1 the WAN.")                      \
    SETTING(USR_WAN_LINK_DETECT_SW,                                                                \
            ONCE, ANY_NUMBER, "0",                                                                 \
            "",                                                                                    \
            "Who says that an uplink is connected:\n"                                              \
            "0: the daemon, when the uplink is up and has its addresses and a DNS server\n"        \
            "any other: the network monitor, which finds out and writes the verdicts; it is "      \
            "told when a PPPoE link is lost")                                                      \
    SETTING(USR_APN_PDP_TYPE,                                                                      \
            ONCE, PDP_TYPE, "none",                                                                \
            "an IPv4 address is needed",                                                           \
            "With 'IPV6' or 'IPV4V6', exactly so, an IPv6 address is enough for the mobile "       \
            "network to count as connected. Otherwise it needs an IPv4 address.")                  \
    SETTING(USR_FLOW_SMS_NOTICE_DELAY,                                                             \
            ONCE, number(NOTICE_MINUTES.least, NOTICE_MINUTES.most), "5",                          \
            "the default counts",                                                                  \
            "In the modes 5 and 7 with strategy 1: after how many minutes of mobile priority "     \
            "the user is told.")                                                                   \
    SETTING(SYS_REBOOT_WHEN_MODEM_UNORMAL,                                                         \
            ONCE, SWITCH, "1",                                                                     \
            "",                                                                                    \
            "Whether the router reboots when, in the modes 5 and 7, priority passes to the "       \
            "mobile network while the modem is abnormal: 1 yes, 0 no.")                            \
    /* Wired WANs. */                                                                              \
    SETTING(SYS_WIRED_WAN_SUB_PORT_NUM,                                                            \
            ONCE, number(0, MAX_WAN_INDEX), "3",                                                   \
            "the default counts",                                                                  \
            "The highest index in use. (Index 8 has no items and is passed over.)")                \
    SETTING(USR_WIRED_WAN_SW,                                                                      \
            EACH_WAN_WITH_0, ANY_NUMBER, "0",                                                      \
            "",                                                                                    \
            "0 switches this index off, any other number on. Index 0 is always on.")               \
    SETTING(USR_WIRED_WAN_VLAN_ID,                                                                 \
            EACH_WAN_WITH_0, VLAN_ID, "0",                                                         \
            "the index is not brought up",                                                         \
            "The VLAN of this index. Index 0, here with the suffix '_0', may also have 0: no "     \
            "VLAN. The VLAN interfaces themselves are made by other programs.")                    \
    /* Addresses. */                                                                               \
    SETTING(USR_WAN_IPVERSION,                                                                     \
            EACH_WAN, IP_VERSION, "none",                                                          \
            "no addresses are set up",                                                             \
            "Which addresses are set up, in any case of letters. PPPoE does not look at it.")      \
    SETTING(USR_WAN_IPMODE,                                                                        \
            EACH_WAN, IPV4_MODE, "none",                                                           \
            "no IPv4 addresses are set up",                                                        \
            "How IPv4 addresses are set up. 'linkPPP' is PPPoE, which covers IPv6 too and is "     \
            "for wired WANs only. The letters' case does not matter to the set-up, but for "       \
            "index 0 to the verdict whether the WAN is connected: write the words as here.")       \
    SETTING(USR_WAN_V6_IPMODE,                                                                     \
            EACH_WAN, number(1, LAST_IPV6_MODE), "none",                                           \
            "no IPv6 addresses are set up",                                                        \
            "How IPv6 addresses are set up:\n"                                                     \
            "1: DHCPv6 with addresses (stateful)\n"                                                \
            "2: router advertisements, with DNS servers from DHCPv6 (stateless)\n"                 \
            "3: router advertisements alone: nothing is started\n"                                 \
            "4: static: nothing is started\n"                                                      \
            "5: PPPoE: nothing is started here, see USR_WAN_IPMODE")                               \
    SETTING(USR_WAN_IPADDR_V4,                                                                     \
            EACH_WAN, QUAD, "none",                                                                \
            "it cannot be set on the interface",                                                   \
            "The static address. The WAN of index 0 or of Wi-Fi counts as connected with an "      \
            "address, a netmask, a gateway and one of the DNS servers.")                           \
    SETTING(USR_WAN_SUBMASK_V4,                                                                    \
            EACH_WAN, QUAD, "none",                                                                \
            "the address may not be set, and counts as one of the LAN's",                          \
            "The netmask of the static address.")                                                  \
    SETTING(USR_WAN_GATEWAY_V4,                                                                    \
            EACH_WAN, QUAD, "none",                                                                \
            "it is handed on as it is",                                                            \
            "The gateway beside the static address.")                                              \
    SETTING(USR_WAN_FIRSTDNS_V4,                                                                   \
            EACH_WAN, QUAD, "none",                                                                \
            "it is handed on as it is",                                                            \
            "The first DNS server beside the static address.")                                     \
    SETTING(USR_WAN_SECDNS_V4,                                                                     \
            EACH_WAN, QUAD, "none",                                                                \
            "it is handed on as it is",                                                            \
            "The second DNS server beside the static address.")                                    \
    SETTING(USR_WAN_PPPOE_USERNAME,                                                                \
            EACH_WAN, PPP_USER, "none",                                                            \
            "no account is written, so that the provider refuses the link",                        \
            "The user of the PPPoE account, without control characters. User and password are "    \
            "both needed.")                                                                        \
    SETTING(USR_WAN_PPPOE_PASSWORD,                                                                \
            EACH_WAN, PPP_PASSWORD, "none",                                                        \
            "no account is written, so that the provider refuses the link",                        \
            "The password of the PPPoE account, without control characters; it may not begin "     \
            "with '@/'.")                                                                          \
    SETTING(USR_WAN_MTU,                                                                           \
            EACH_WAN, number(1, INT_MAX), "1500",                                                  \
            "the default counts",                                                                  \
            "The largest packet that is sent over PPPoE, in bytes.")                               \
    SETTING(USR_WAN_MRU,                                                                           \
            EACH_WAN, number(1, INT_MAX), "the MTU",                                               \
            "the default counts",                                                                  \
            "The largest packet that is received over PPPoE, in bytes.")                           \
    /* Networks of the LAN. */                                                                     \
    SETTING(SYS_BRIDGE_VLAN_MASK,                                                                  \
            ONCE, HEX_MASK, "none",                                                                \
            "",                                                                                    \
            "Which of the networks exist; without a value, nothing is compared. It is written "    \
            "without 0x. Bits 0 to 15 stand for the LAN's networks, 16 to 31 for the VLANs'.")     \
    SETTING(USR_DHCP_SERVER_SW,                                                                    \
            EACH_LAN, SWITCH, "0",                                                                 \
            "",                                                                                    \
            "1 if this network of the LAN is in use; otherwise it is not compared.")               \
    SETTING(USR_DHCP_LAN_IP,                                                                       \
            EACH_LAN, QUAD, "none",                                                                \
            "every WAN counts as overlapping it",                                                  \
            "The router's address in this network of the LAN. Without it the network is not "      \
            "compared.")                                                                           \
    SETTING(USR_DHCP_SUBNET_MASK,                                                                  \
            EACH_LAN, QUAD, "none",                                                                \
            "every WAN counts as overlapping the network",                                         \
            "The netmask of this network of the LAN. Without it the network is not compared.")     \
    SETTING(SYS_VLAN_DHCP_SERVER_SW,                                                               \
            EACH_VLAN, SWITCH, "0",                                                                \
            "",                                                                                    \
            "1 if this VLAN's network is in use; otherwise it is not compared.")                   \
    SETTING(SYS_VLAN_DHCP_IP,                                                                      \
            EACH_VLAN, QUAD, "none",                                                               \
            "every WAN counts as overlapping it",                                                  \
            "The router's address in this VLAN's network. Without it the network is not "          \
            "compared.")                                                                           \
    SETTING(SYS_VLAN_DHCP_SUBNET_MASK,                                                             \
            EACH_VLAN, QUAD, "none",                                                               \
            "every WAN counts as overlapping the network",                                         \
            "The netmask of this VLAN's network. Without it the network is not compared.")         \
    /* Log: read by the layer for plain Linux itself. */                                           \
    SETTING(SYS_LOG_LEVEL,                                                                         \
            ONCE, number(0, INT_MAX), "1",                                                         \
            "the default counts",                                                                  \
            "What is logged:\n"                                                                    \
            "0: events and errors\n"                                                               \
            "1: rejected values too\n"                                                             \
            "3: debug lines too\n"                                                                 \
            "4: routine steps too\n"                                                               \
            "A change counts within 5 seconds, without a message.")
// clang-format on

#define UPLINKD_SETTING_KEY(key, ...) inline constexpr char key[] = #key;
UPLINKD_SETTINGS(UPLINKD_SETTING_KEY)
#undef UPLINKD_SETTING_KEY

// The settings of a WAN or a LAN network have one key for each index: key_of_index where index 0
// has the bare key (EACH_WAN, EACH_LAN), always_indexed_key otherwise.
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
