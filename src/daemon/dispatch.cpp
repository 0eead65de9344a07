// One table leads from each message to its handler. The handlers run on the bus's delivery thread,
// one at a time; only priority-changed can have a result other than 0, for a null record.

#include "daemon/dispatch.h"

#include "base/log_forms.h"
#include "base/messages.h"
#include "base/packed_texts.h"
#include "daemon/handler_mutex.h"
#include "daemon/pppoe_change.h"
#include "daemon/priority_change.h"
#include "daemon/setup_completed.h"
#include "daemon/wan_mode_change.h"
#include "daemon/wan_status_change.h"
#include "daemon/wired_port_change.h"
#include "daemon/wireless_link_change.h"

uplinkd_mutex uplinkd_handler_mutex;

// The LAN manager has started: evaluate the WAN mode again, as start-up does once.
static int uplinkd_downlinkd_init_completed_handler(const uplinkd_msg_t *) UPLINKD_HANDLER {
    wan_mode_change_handler();
    return 0;
}

// Known, so that it is logged by name; nothing follows from it.
static int uplinkd_pppd_status_change_handler(const uplinkd_msg_t *) {
    return 0;
}

namespace {

enum class line_forms : uint8_t { none, trace, debug_and_trace };

// Some handlers want the record, most do not.
struct handler {
    constexpr handler(int (*run)()) : without_record(run), wants_record(false) {}
    constexpr handler(int (*run)(const uplinkd_msg_t *)) : with_record(run), wants_record(true) {}

    union {
        int (*without_record)();
        int (*with_record)(const uplinkd_msg_t *);
    };
    bool wants_record;
};

// clang-format off
#define ROUTES(ROW) \
    ROW(UPLINKD_MSG_ID_WAN_MODE_CHANGE, trace, "UPLINKD_MSG_ID_WAN_MODE_CHANGE\n", \
        wan_mode_change_handler) \
    ROW(UPLINKD_MSG_ID_WAN_STATUS_CHANGE, trace, "UPLINKD_MSG_ID_WAN_STATUS_CHANGE\n", \
        wan_status_change_handler) \
    ROW(PEER_MSG_ID_WAN_STATUS_CHANGE, trace, "UPLINKD_MSG_ID_WAN_STATUS_CHANGE\n", \
        wan_status_change_handler) \
    ROW(UPLINKD_MSG_ID_WAN_WIRELESS_MODE_CHANGE, trace, "UPLINKD_MSG_ID_WAN_WIRELESS_MODE_CHANGE\n", \
        wan_wireless_status_change_handler) \
    ROW(UPLINKD_MSG_ID_WAN_WIRELESS_MODE_REFRESH, trace, "UPLINKD_MSG_ID_WAN_WIRELESS_MODE_CHANGE\n", \
        wan_wireless_status_change_handler) \
    ROW(UPLINKD_MSG_ID_WAN_WIRED_MODE_CHANGE, trace, "UPLINKD_MSG_ID_WAN_WIRED_MODE_CHANGE\n", \
        wan_wired_status_change_handler) \
    ROW(UPLINKD_MSG_ID_WAN_SETUP_COMPLETED, none, "", \
        uplinkd_wan_setup_completed_handler) \
    ROW(UPLINKD_MSG_WAN_PRIO_CHANGED, trace, "msg ===> UPLINKD_MSG_WAN_PRIO_CHANGED\n", \
        uplinkd_priority_change_handler) \
    ROW(UPLINKD_MSG_WAN_PPPOE_CHANGED, trace, "UPLINKD_MSG_WAN_PPPOE_CHANGED\n", \
        uplinkd_pppoe_status_change_handler) \
    ROW(DOWNLINKD_MSG_ID_INIT_COMPLETED, debug_and_trace, "msg ===> DOWNLINKD_MSG_ID_INIT_COMPLETED\n", \
        uplinkd_downlinkd_init_completed_handler) \
    ROW(PPPD_STATUS_CHANGE_EVENT, debug_and_trace, "msg ===> PPPD_STATUS_CHANGE_EVENT\n", \
        uplinkd_pppd_status_change_handler)
// clang-format on

struct route {
    handler run;
    line_forms forms;
    int msg_id;
};

#define ROUTE(msg_id, forms, line, run) {run, line_forms::forms, msg_id},
constexpr route ROUTE_OF_ROW[] = {ROUTES(ROUTE)};
#undef ROUTE

#define LINE(msg_id, forms, line, run) line "\0"
constexpr const char LINES[] = ROUTES(LINE); // one a row
#undef LINE

} // namespace

int uplinkd_handler_msg(const uplinkd_msg_t *message) {
    const mutex_guard one_handler_at_a_time(uplinkd_handler_mutex);

    UPLINKD_TRACE(LOG_EVENT, "[uplinkd] [uplinkd_handler_msg] recv msg(0x%04X) from %s",
                  static_cast<unsigned>(message->msg_id), get_app_name_by_id(message->src_app_id));
    UPLINKD_DEBUG("[uplinkd] [uplinkd_handler_msg] recv msg(0x%04X) from %s\n",
                  static_cast<unsigned>(message->msg_id), get_app_name_by_id(message->src_app_id));

    for (const route &route : ROUTE_OF_ROW) {
        if (route.msg_id != message->msg_id)
            continue;
        const char *line = nth_text(LINES, static_cast<size_t>(&route - ROUTE_OF_ROW));
        if (route.forms == line_forms::debug_and_trace)
            UPLINKD_DEBUG("%s", line);
        if (route.forms != line_forms::none)
            UPLINKD_TRACE(LOG_EVENT, "%s", line);
        return route.run.wants_record ? route.run.with_record(message) : route.run.without_record();
    }
    return 0;
}
