// The router's local message bus: fixed-size records between applications known by number.
#pragma once

#include <cstddef>
#include <cstdint>

// The record as it travels: little-endian, no padding, shared with every application on the bus.
struct uplinkd_msg_t {
    int32_t msg_id;
    int32_t bcast_marker; // 1 in a broadcast
    int32_t reserved0;
    unsigned char payload[4096];
    int32_t src_app_id; // filled in by the receiver's bus library; 0 for an unregistered sender
    int32_t reserved1;
};
static_assert(sizeof(uplinkd_msg_t) == 4116);
static_assert(offsetof(uplinkd_msg_t, payload) == 12);
static_assert(offsetof(uplinkd_msg_t, src_app_id) == 4108);

extern "C" {

// Called for one record at a time on a thread of the bus library's own; the record is valid for
// the duration of the call.
typedef int (*sockmsg_handler)(const uplinkd_msg_t *message);

// Registers the calling process as application APP_ID and starts delivery to HANDLER. RESERVED is
// always 0. Returns 0, or a negative number if the application cannot be registered.
int init_sockmsg(int app_id, sockmsg_handler handler, int reserved);

// Sends MESSAGE to application DESTINATION without ever blocking. Returns 0 or more when the
// receiver's queue took it, a negative number otherwise.
int sockmsg_send_common_msg(int destination, const uplinkd_msg_t *message);

// Sends MESSAGE to every registered application but SENDER. Returns the number of applications
// that took it, or a negative number if the bus cannot be read.
int sockmsg_send_broadcast_msg(int sender, const uplinkd_msg_t *message);

// The printable name of an application, "unknown" for a number that has none.
const char *get_app_name_by_id(int app_id);
}
