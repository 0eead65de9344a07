#include "base/outgoing.h"

#include <cstring>

#include "base/log_forms.h"
#include "base/messages.h"
#include "platform/bus.h"

// Builds the record, sends it, and logs the outcome in the caller's name.
static int send_record(int destination, int msg_id, const void *payload, int length,
                       log_site site = caller_site()) {
    const unsigned id = static_cast<unsigned>(msg_id);
    uplinkd_msg_t message = {};
    message.msg_id = msg_id;
    if (payload != nullptr && length > 0) {
        if (static_cast<size_t>(length) > sizeof message.payload) {
            UPLINKD_TRACE_AT(site, LOG_EVENT, "msg (0x%x) refused: payload of %d bytes is too long",
                             id, length);
            return -1;
        }
        memcpy(message.payload, payload, static_cast<size_t>(length));
    }

    const int result = sockmsg_send_common_msg(destination, &message);
    const char *receiver = get_app_name_by_id(destination);
    if (result >= 0)
        UPLINKD_TRACE_AT(site, LOG_EVENT, "send msg (0x%x) to %s successfully", id, receiver);
    else
        UPLINKD_TRACE_AT(site, LOG_EVENT, "send msg (0x%x) to %s failed!", id, receiver);
    return result;
}

int uplinkd_send_msg(int destination, int msg_id, const void *payload, int length) {
    return send_record(destination, msg_id, payload, length);
}

int uplinkd_send_msg2pfilterd(int msg_id, const void *payload, int length) {
    return send_record(APP_ID_PFILTERD, msg_id, payload, length);
}

int uplinkd_send_async_msg(int destination, int msg_id, const void *payload, int length) {
    if (destination == APP_ID_UPLINKD) {
        UPLINKD_TRACE(
            LOG_EVENT,
            "send msg (0x%x) to failed: can not using sockmsg_send_common_msg() send msg to "
            "myself!",
            static_cast<unsigned>(msg_id));
        return -1;
    }
    return send_record(destination, msg_id, payload, length);
}

int uplinkd_send_broadcast_msg(int msg_id) {
    uplinkd_msg_t message = {};
    message.msg_id = msg_id;
    message.bcast_marker = 1;
    return sockmsg_send_broadcast_msg(APP_ID_UPLINKD, &message);
}

int uplinkd_send_prio_changed_msg() {
    return uplinkd_send_msg(APP_ID_PRIO_LISTENER, UPLINKD_MSG_WAN_PRIO_CHANGED, nullptr, 0);
}
