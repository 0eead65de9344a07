// What the router knows of its uplinks, its clients and the daemon at this moment, gathered for the
// commands that show it.
#pragma once

#include <array>
#include <span>
#include <string_view>

#include "arbitration/arbitration.h"
#include "arbitration/connection_status.h"
#include "base/text.h"
#include "platform/network.h"
#include "tools/cli.h"
#include "wan/uplinks.h"

namespace router {

// An item's text, fit for a terminal.
template <int N> text<N> plain_item(int id) {
    text<N> value = item_text<N>(id);
    for (char &c : value.chars)
        if (c != '\0' && cli::is_control(c))
            c = '?';
    return value;
}

// In words; "invalid" for other numbers.
const char *mode_text(int wan_mode);
const char *strategy_text(int strategy);
const char *priority_text(int priority);
const char *missing_text(missing_piece missing);
const char *missing_name(missing_piece missing); // in JSON

enum class link_state { unknown, down, up };
const char *link_text(link_state link);

struct client_state {
    const char *program; // its name
    int pid;
    bool alive; // a process of that number has that name
};

struct client_list {
    std::array<client_state, 3> clients;
    size_t count = 0;

    std::span<const client_state> all() const { return {clients.data(), count}; }
};

enum class uplink_kind { mobile, wired, wlan24, wlan58 };

struct uplink_state {
    uplink_kind kind;
    int index; // of a wired WAN
    text<IFNAMSIZ> ifname;
    link_state link;
    bool is_up; // its network state
    bool has_verdict;
    text<2> stored_verdict;
    missing_piece missing; // what it lacks, as the daemon would find now
    text<IPV4_TEXT_SIZE> ipv4, netmask, gateway;
    text<64> dns[2];
    text<64> ipv6, ipv6_gateway;
    text<64> ipv6_dns[2];
    client_list clients;
};

inline constexpr size_t MAX_UPLINKS = 1 + MAX_RECORD_INDEX + 1;

// "mobile", "wired", "wlan24", "wlan58": in JSON.
const char *kind_name(uplink_kind kind);
// "Mobile network", "Wired WAN 0", "Wi-Fi 2.4 GHz".
text<24> title(const uplink_state &uplink);

// The uplinks that WAN_MODE uses, of the wired ones those that are switched on. Returns how many.
size_t list_uplinks(int wan_mode, std::array<uplink_state, MAX_UPLINKS> &uplinks);

struct overlap {
    bool is_vlan;
    int lan_index, wan_index;
    text<32> lan_address, lan_netmask, wan_address, wan_netmask;
};

// A line for people: interface, link, network state, verdict.
void print_uplink(const uplink_state &uplink, int link_detection);

// As an element of a list in JSON. With LINK_DETECTION the verdicts are the network monitor's.
void write_uplink(const uplink_state &uplink, int link_detection);

// Calls VISIT for the lines of the older log and the log, in this order.
void visit_log(void (*visit)(std::string_view line, void *context), void *context);

// The first LAN or VLAN that overlaps this WAN by the daemon's own check; false for none.
bool find_overlap(const uplink_state &wan, overlap &found);

// The last overlap that the daemon has logged, and when; false for none. (Its WAN index is not
// logged, and -1 here; without an index of the LAN, -1, the external script was in charge.)
bool find_logged_overlap(overlap &found, text<24> &time);

struct daemon_state {
    int pid;                 // 0: it does not run
    bool is_registered;      // somebody takes records for application 24
    bool waits_for_settings; // for the configuration daemon's marker
    bool waits_for_lan;      // for the LAN manager's flag
};
daemon_state read_daemon();

// Whether somebody takes records for an application.
bool is_bound(int app_id);

// The first process of root's of that name; 0 for none.
int find_process(const char *name);
bool is_process(int pid, const char *name);

// Where a client PROGRAM of a WAN leaves its number.
text<64> pid_file_of(const char *program, int wan);

// The number in a client's pid file; 0 for none.
int read_pid_file(const char *path);

} // namespace router
