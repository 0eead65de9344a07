// The values that the whole daemon speaks in: WAN modes, strategies, priorities, addressing modes.
#pragma once

// The WAN mode, as the setting USR_WAN_MODE holds it. Any other number is an invalid mode.
inline constexpr int WAN_MODE_MOBILE = 1;     // mobile network only
inline constexpr int WAN_MODE_WIRED = 2;      // wired WAN only
inline constexpr int WAN_MODE_WLAN24 = 3;     // Wi-Fi client on 2.4 GHz
inline constexpr int WAN_MODE_WLAN58 = 4;     // Wi-Fi client on 5.8 GHz
inline constexpr int WAN_MODE_MIX = 5;        // mobile network and wired WAN, priority by strategy
inline constexpr int WAN_MODE_BRIDGE = 6;     // as MIX, bridged, and the WAN always has priority
inline constexpr int WAN_MODE_BRIDGE_MIX = 7; // as MIX, bridged

constexpr bool is_wired_mode(int wan_mode) {
    return wan_mode == WAN_MODE_WIRED || wan_mode == WAN_MODE_MIX || wan_mode == WAN_MODE_BRIDGE ||
           wan_mode == WAN_MODE_BRIDGE_MIX;
}
constexpr bool is_wireless_mode(int wan_mode) {
    return wan_mode == WAN_MODE_WLAN24 || wan_mode == WAN_MODE_WLAN58;
}
constexpr bool is_mix_mode(int wan_mode) {
    return wan_mode == WAN_MODE_MIX || wan_mode == WAN_MODE_BRIDGE_MIX;
}
constexpr bool is_bridge_mode(int wan_mode) {
    return wan_mode == WAN_MODE_BRIDGE || wan_mode == WAN_MODE_BRIDGE_MIX;
}
constexpr bool uses_mobile(int wan_mode) {
    return wan_mode == WAN_MODE_MOBILE || is_mix_mode(wan_mode) || is_bridge_mode(wan_mode);
}

// Which uplink a mix mode prefers, as USR_WAN_COMMUNICATION_PRIORITY_STRATEGY holds it.
inline constexpr int PRIORITY_STRATEGY_MOBILE_FIRST = 0;
inline constexpr int PRIORITY_STRATEGY_WAN_FIRST = 1;

// The outcome of the arbitration, as the item DI_IFA_WAN_PRIORITY holds it.
inline constexpr int NETWORK_PRIORITY_MOBILE = 0;
inline constexpr int NETWORK_PRIORITY_WAN = 1;

// A bit mask: which IP versions a WAN is set up for.
enum uplinkd_ip_version : int {
    IPVER_NONE = 0,
    IPVER_V4 = 1,
    IPVER_V6 = 2,
    IPVER_V4V6 = IPVER_V4 | IPVER_V6,
};

// How a WAN gets its addresses; one enumeration for both IP versions.
enum uplinkd_ipmode : int {
    IPMODE_NONE = 0,
    IPMODE_STATIC = 1,
    IPMODE_DHCP = 2,
    IPMODE_STATEFUL = 3,
    IPMODE_STATELESS = 4,
    IPMODE_SLAAC = 5,
    IPMODE_LINKPPP = 6,
};

// Index 0 is the main wired WAN, 1 and up are its sub-ports. Settings and client files exist for
// 0 to MAX_WAN_INDEX, item records only for 0 to MAX_RECORD_INDEX.
inline constexpr int MAX_WAN_INDEX = 8;
inline constexpr int MAX_RECORD_INDEX = 7;

constexpr bool is_wan_index(int idx) {
    return idx >= 0 && idx <= MAX_WAN_INDEX;
}
