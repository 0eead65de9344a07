// The router's local message bus: fixed-size records between applications known by number.
#pragma once

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

// The record as it travels: little-endian, no padding, shared with every application on the bus.
typedef struct uplinkd_msg_t {
    int32_t msg_id;
    int32_t bcast_marker; // 1 in a broadcast
    int32_t reserved0;
    unsigned char payload[4096];
    int32_t src_app_id; // filled in by the receiver's bus library; 0 for an unregistered sender
    int32_t reserved1;
} uplinkd_msg_t;
static_assert(sizeof(uplinkd_msg_t) == 4116, "the size on the bus");
static_assert(offsetof(uplinkd_msg_t, payload) == 12, "no padding");
static_assert(offsetof(uplinkd_msg_t, src_app_id) == 4108, "no padding");

#ifdef __cplusplus
extern "C" {
#endif

// Called for one record at a time on a thread of the bus library's own; the record is valid for
// the duration of the call.
typedef int (*sockmsg_handler)(const uplinkd_msg_t *message);

// Registers the calling process as application APP_ID and starts delivery to HANDLER. RESERVED is
// always 0. Returns 0, or a negative number if the application cannot be registered.
int init_sockmsg(int app_id, sockmsg_handler handler, int reserved);

// Sends MESSAGE to application DESTINATION. Returns 0 or more when the receiver's queue took it, a
// negative number otherwise. Never waits for a handler: a receiver with a full queue may be given
// up to 20 ms to have its turn, but one that was still full then gets no more of them until it has
// taken a record.
int sockmsg_send_common_msg(int destination, const uplinkd_msg_t *message);

// Sends MESSAGE to every registered application but SENDER. Returns the number of applications
// that took it, or a negative number if the bus cannot be read. All receivers with a full queue
// share the 20 ms.
int sockmsg_send_broadcast_msg(int sender, const uplinkd_msg_t *message);

// The printable name of an application, "unknown" for a number that has none.
const char *get_app_name_by_id(int app_id);

#ifdef __cplusplus
}
#endif
