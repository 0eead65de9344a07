// The named flags that the daemon reads or sets.
#pragma once

// "1" while a WAN and a LAN subnet conflict, "0" otherwise. Set by the daemon.
inline constexpr char SUBNET_CONFLICT_FLAG[] = "UPLINKD_DETECT_WAN_NET_SEG_INVALID";

// "1" once the LAN manager's start-up is complete. Set by the LAN manager.
inline constexpr char DOWNLINKD_FLAG[] = "downlinkd_init_completed";
