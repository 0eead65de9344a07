// Every message that the daemon sends passes through here; each is one record built on the stack.
#pragma once

// Sends MSG_ID with LENGTH bytes of PAYLOAD (null or a length of 0 or below: none) to application
// DESTINATION and logs the outcome. Returns the bus's result, 0 or more when accepted; -1 for a
// payload longer than the record holds.
int uplinkd_send_msg(int destination, int msg_id, const void *payload, int length);

// The same, always to the firewall tool.
int uplinkd_send_msg2pfilterd(int msg_id, const void *payload, int length);

// The same, but refuses to send to this daemon itself (-1).
int uplinkd_send_async_msg(int destination, int msg_id, const void *payload, int length);

// Sends MSG_ID without payload to every other application on the bus. Returns the bus's result.
int uplinkd_send_broadcast_msg(int msg_id);

// Tells the priority listener that the network priority has changed.
int uplinkd_send_prio_changed_msg();
