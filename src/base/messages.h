// Who is who on the bus, and what they say to each other.
#pragma once

// APPLICATION(constant, number, role). get_app_name_by_id() has the names.
// clang-format off
#define UPLINKD_APPLICATIONS(APPLICATION)                                                          \
    APPLICATION(APP_ID_PFILTERD, 19, "the firewall tool")                                          \
    APPLICATION(APP_ID_PRIO_LISTENER, 22, "told of a changed priority in the mix modes")           \
    APPLICATION(APP_ID_LINKPROBE, 23, "the network monitor")                                       \
    APPLICATION(APP_ID_UPLINKD, 24, "this daemon")                                                 \
    APPLICATION(APP_ID_UIS, 25, "places the call of the mix-mode notice")                          \
    APPLICATION(APP_ID_TEXTMSG, 27, "sends the text message of the mix-mode notice")
// clang-format on

#define UPLINKD_APPLICATION_CONSTANT(name, id, role) inline constexpr int name = id;
UPLINKD_APPLICATIONS(UPLINKD_APPLICATION_CONSTANT)
#undef UPLINKD_APPLICATION_CONSTANT

// As this daemon sees it.
enum class message_direction { received, sent, both };

// MESSAGE(constant, ID, direction, who sends it or is sent it, what it says or has the daemon do)
// clang-format off
#define UPLINKD_MESSAGES(MESSAGE)                                                                  \
    /* Received. */                                                                                \
    MESSAGE(UPLINKD_MSG_ID_WAN_MODE_CHANGE, 0x5300, received, "any",                               \
            "a setting has changed: take the WAN down, start anew")                                \
    MESSAGE(UPLINKD_MSG_ID_WAN_STATUS_CHANGE, 0x5301, received, "any",                             \
            "judge the connections anew, and decide the priority")                                 \
    MESSAGE(PEER_MSG_ID_WAN_STATUS_CHANGE, 0x103D, received, "any",                                \
            "as WAN_STATUS_CHANGE")                                                                \
    MESSAGE(UPLINKD_MSG_ID_WAN_WIRELESS_MODE_CHANGE, 0x5302, received, "any",                      \
            "a Wi-Fi link may have changed: follow it")                                            \
    MESSAGE(UPLINKD_MSG_ID_WAN_WIRED_MODE_CHANGE, 0x5303, received, "any",                         \
            "the WAN port may have changed: follow its link")                                      \
    MESSAGE(UPLINKD_MSG_WAN_PPPOE_CHANGED, 0x5306, received, "any",                                \
            "a PPPoE link is down: clear its items, dial again")                                   \
    MESSAGE(UPLINKD_MSG_ID_WAN_WIRELESS_MODE_REFRESH, 0x5307, received, "any",                     \
            "as WAN_WIRELESS_MODE_CHANGE, unchanged links too")                                    \
    MESSAGE(DOWNLINKD_MSG_ID_INIT_COMPLETED, 0x510E, received, "any",                              \
            "the LAN manager has started: evaluate the WAN mode anew")                             \
    MESSAGE(PPPD_STATUS_CHANGE_EVENT, 0x8205, received, "any",                                     \
            "logged, nothing else")                                                                \
    /* Received and sent. */                                                                       \
    MESSAGE(UPLINKD_MSG_ID_WAN_SETUP_COMPLETED, 0x5304, both, "all",                               \
            "in: a WAN has its addresses, check it; out: it fits the LAN")                         \
    MESSAGE(UPLINKD_MSG_WAN_PRIO_CHANGED, 0x5305, both, "pfilterd, prio_listener",                 \
            "in, mode 7: bring the wired WAN up anew; out: it has changed")                        \
    /* Sent. */                                                                                    \
    MESSAGE(LINKPROBE_MSG_ID_WAN_LINK_BROKEN, 0x5202, sent, "linkprobe",                           \
            "a wired link or a PPPoE connection is down")                                          \
    MESSAGE(UIS_MSG_ID_MIX_MODE_CALL, 0x5401, sent, "uis",                                         \
            "call the user: the mobile network has taken over")                                    \
    MESSAGE(TEXTMSG_MSG_ID_MIX_MODE_NOTICE, 0x5506, sent, "textmsg",                               \
            "send the user a text: the mobile network has taken over")                             \
    MESSAGE(PFILTERD_MSG_ID_WAN_CHANGED, 0x7005, sent, "pfilterd",                                 \
            "the WAN has changed")
// clang-format on

#define UPLINKD_MESSAGE_CONSTANT(name, id, ...) inline constexpr int name = id;
UPLINKD_MESSAGES(UPLINKD_MESSAGE_CONSTANT)
#undef UPLINKD_MESSAGE_CONSTANT
