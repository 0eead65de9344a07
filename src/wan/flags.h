// The named flags that the daemon reads or sets.
#pragma once

// FLAG(constant, name, meaning)
// clang-format off
#define UPLINKD_FLAGS(FLAG)                                                                        \
    /* Set by the daemon. */                                                                       \
    FLAG(SUBNET_CONFLICT_FLAG, "UPLINKD_DETECT_WAN_NET_SEG_INVALID",                               \
         "1: a WAN's network overlaps one of the LAN's; 0: none does")                             \
    /* Set by the LAN manager. */                                                                  \
    FLAG(DOWNLINKD_FLAG, "downlinkd_init_completed",                                               \
         "1: the LAN manager's start-up is complete, which the daemon waits for")
// clang-format on

#define UPLINKD_FLAG_CONSTANT(constant, name, meaning) inline constexpr char constant[] = name;
UPLINKD_FLAGS(UPLINKD_FLAG_CONSTANT)
#undef UPLINKD_FLAG_CONSTANT
