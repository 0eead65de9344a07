// Whether each uplink of the configured WAN mode is connected at the IP level.
#pragma once

// What an uplink lacks for that, the first of these.
enum class missing_piece { none, network, address, netmask, gateway, dns };

struct connection_verdicts {
    missing_piece mobile, wan;
};

// What items, settings and interfaces say now. An uplink that the mode does not use lacks its
// network.
connection_verdicts judge_connections(int wan_mode);

// Recomputes the connection-status items, unless link detection keeps them. Returns 0.
int uplinkd_update_connstatus();
