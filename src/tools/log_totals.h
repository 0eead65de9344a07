// What the daemon's log tells, counted. The totals outlive rotations of the log: what has been read
// of which file is kept beside them in /run/uplinkd/metrics.
#pragma once

#include <cstdint>
#include <iterator>

#include "base/messages.h"

// Tables that bound what can be counted apart; everything else is counted in one row behind them.
struct known_message {
    int id;
    message_direction direction;
};
inline constexpr known_message KNOWN_MESSAGES[] = {
#define ROW(name, id, direction, ...) {id, message_direction::direction},
    UPLINKD_MESSAGES(ROW)
#undef ROW
};
inline constexpr int KNOWN_PEERS[] = {
#define ROW(name, id, role) id,
    UPLINKD_APPLICATIONS(ROW)
#undef ROW
};
inline constexpr size_t OTHER_MESSAGE = std::size(KNOWN_MESSAGES);
inline constexpr size_t UNKNOWN_PEER = std::size(KNOWN_PEERS);

enum message_fate : size_t { RECEIVED, SENT, SEND_FAILED, MESSAGE_FATES };

// Counts of 64 bits and nothing else, so that it can be kept as it stands.
struct log_totals {
    uint64_t starts;
    uint64_t failovers[2]; // by the priority that follows
    uint64_t conflicts;
    uint64_t rejected_values;
    uint64_t dropped_datagrams;
    uint64_t gaps; // how often the log was no longer there from where it had been read to
    uint64_t messages[MESSAGE_FATES][OTHER_MESSAGE + 1][UNKNOWN_PEER + 1];
};

// Adds what has been logged since the last call, by any process, and keeps the sums. Without kept
// sums that fit, it counts what the log and the old log hold. Returns null, or what could not be
// used, for errno's reason.
const char *update_log_totals(log_totals &totals);
