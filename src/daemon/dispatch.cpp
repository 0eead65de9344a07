// One table leads from each message to its handler. The handlers run on the bus's delivery thread,
// one at a time; only priority-changed can have a result other than 0, for a null record.

#include "daemon/dispatch.h"

#include "base/log_forms.h"
#include "base/messages.h"
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

enum class line_forms { none, trace, debug_and_trace };

// Some handlers want the record, most do not.
struct handler {
    constexpr handler(int (*run)()) : without_record(run) {}
    constexpr handler(int (*run)(const uplinkd_msg_t *)) : with_record(run) {}

    int (*without_record)() = nullptr;
    int (*with_record)(const uplinkd_msg_t *) = nullptr;
};

struct route {
    int msg_id;
    line_forms forms;
    const char *line;
    handler run;
};

constexpr route ROUTES[] = {
    {UPLINKD_MSG_ID_WAN_MODE_CHANGE, line_forms::trace, "UPLINKD_MSG_ID_WAN_MODE_CHANGE\n",
     wan_mode_change_handler},
    {UPLINKD_MSG_ID_WAN_STATUS_CHANGE, line_forms::trace, "UPLINKD_MSG_ID_WAN_STATUS_CHANGE\n",
     wan_status_change_handler},
    {PEER_MSG_ID_WAN_STATUS_CHANGE, line_forms::trace, "UPLINKD_MSG_ID_WAN_STATUS_CHANGE\n",
     wan_status_change_handler},
    {UPLINKD_MSG_ID_WAN_WIRELESS_MODE_CHANGE, line_forms::trace,
     "UPLINKD_MSG_ID_WAN_WIRELESS_MODE_CHANGE\n", wan_wireless_status_change_handler},
    {UPLINKD_MSG_ID_WAN_WIRELESS_MODE_REFRESH, line_forms::trace,
     "UPLINKD_MSG_ID_WAN_WIRELESS_MODE_CHANGE\n", wan_wireless_status_change_handler},
    {UPLINKD_MSG_ID_WAN_WIRED_MODE_CHANGE, line_forms::trace,
     "UPLINKD_MSG_ID_WAN_WIRED_MODE_CHANGE\n", wan_wired_status_change_handler},
    {UPLINKD_MSG_ID_WAN_SETUP_COMPLETED, line_forms::none, nullptr,
     uplinkd_wan_setup_completed_handler},
    {UPLINKD_MSG_WAN_PRIO_CHANGED, line_forms::trace, "msg ===> UPLINKD_MSG_WAN_PRIO_CHANGED\n",
     uplinkd_priority_change_handler},
    {UPLINKD_MSG_WAN_PPPOE_CHANGED, line_forms::trace, "UPLINKD_MSG_WAN_PPPOE_CHANGED\n",
     uplinkd_pppoe_status_change_handler},
    {DOWNLINKD_MSG_ID_INIT_COMPLETED, line_forms::debug_and_trace,
     "msg ===> DOWNLINKD_MSG_ID_INIT_COMPLETED\n", uplinkd_downlinkd_init_completed_handler},
    {PPPD_STATUS_CHANGE_EVENT, line_forms::debug_and_trace, "msg ===> PPPD_STATUS_CHANGE_EVENT\n",
     uplinkd_pppd_status_change_handler},
};

} // namespace

static const route *find_route(int msg_id) {
    for (const route &candidate : ROUTES) {
        if (candidate.msg_id == msg_id)
            return &candidate;
    }
    return nullptr;
}

int uplinkd_handler_msg(const uplinkd_msg_t *message) {
    const mutex_guard one_handler_at_a_time(uplinkd_handler_mutex);

    UPLINKD_TRACE(LOG_EVENT, "[uplinkd] [uplinkd_handler_msg] recv msg(0x%04X) from %s",
                  static_cast<unsigned>(message->msg_id), get_app_name_by_id(message->src_app_id));
    UPLINKD_DEBUG("[uplinkd] [uplinkd_handler_msg] recv msg(0x%04X) from %s\n",
                  static_cast<unsigned>(message->msg_id), get_app_name_by_id(message->src_app_id));

    const route *route = find_route(message->msg_id);
    if (route == nullptr)
        return 0;
    if (route->forms == line_forms::debug_and_trace)
        UPLINKD_DEBUG("%s", route->line);
    if (route->forms != line_forms::none)
        UPLINKD_TRACE(LOG_EVENT, "%s", route->line);

    const handler &handler = route->run;
    return handler.with_record != nullptr ? handler.with_record(message) : handler.without_record();
}
