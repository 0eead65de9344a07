// Who is who on the bus, and what they say to each other.
#pragma once

inline constexpr int APP_ID_PFILTERD = 19;      // the firewall tool
inline constexpr int APP_ID_PRIO_LISTENER = 22; // told of a changed priority in the mix modes
inline constexpr int APP_ID_LINKPROBE = 23;     // the network monitor
inline constexpr int APP_ID_UPLINKD = 24;       // this daemon
inline constexpr int APP_ID_UIS = 25;           // places the call of the mix-mode notice
inline constexpr int APP_ID_TEXTMSG = 27;       // sends the text message of the mix-mode notice

// Received.
inline constexpr int UPLINKD_MSG_ID_WAN_MODE_CHANGE = 0x5300;
inline constexpr int UPLINKD_MSG_ID_WAN_STATUS_CHANGE = 0x5301;
inline constexpr int UPLINKD_MSG_ID_WAN_WIRELESS_MODE_CHANGE = 0x5302;
inline constexpr int UPLINKD_MSG_ID_WAN_WIRED_MODE_CHANGE = 0x5303;
inline constexpr int UPLINKD_MSG_WAN_PPPOE_CHANGED = 0x5306;
inline constexpr int UPLINKD_MSG_ID_WAN_WIRELESS_MODE_REFRESH = 0x5307;
inline constexpr int PEER_MSG_ID_WAN_STATUS_CHANGE = 0x103D;
inline constexpr int DOWNLINKD_MSG_ID_INIT_COMPLETED = 0x510E;
inline constexpr int PPPD_STATUS_CHANGE_EVENT = 0x8205;

// Received and sent.
inline constexpr int UPLINKD_MSG_ID_WAN_SETUP_COMPLETED = 0x5304;
inline constexpr int UPLINKD_MSG_WAN_PRIO_CHANGED = 0x5305;

// Sent.
inline constexpr int LINKPROBE_MSG_ID_WAN_LINK_BROKEN = 0x5202;
inline constexpr int UIS_MSG_ID_MIX_MODE_CALL = 0x5401;
inline constexpr int TEXTMSG_MSG_ID_MIX_MODE_NOTICE = 0x5506;
inline constexpr int PFILTERD_MSG_ID_WAN_CHANGED = 0x7005;
