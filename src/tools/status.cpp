// uplinkctl status: the router's uplinks at a glance.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <unistd.h>

#include "arbitration/live_state.h"
#include "platform/flag_store.h"
#include "tools/cli.h"
#include "tools/last_batch.h"
#include "tools/output.h"
#include "tools/router_state.h"
#include "tools/uplinkctl.h"
#include "wan/flags.h"
#include "wan/markers.h"
#include "wan/setting_keys.h"

using output::print;

namespace {

struct status {
    router::daemon_state daemon;
    arbitration_inputs in;
    arbitration_decision decision;
    text<8> recorded;
    int link_detection;
    std::array<router::uplink_state, router::MAX_UPLINKS> uplinks;
    size_t uplink_count;
    bool conflict;
    router::overlap overlap;
    bool overlap_found;
    last_batch batch;
};

} // namespace

// ---- finding out

static void find_out(status &found) {
    found.daemon = router::read_daemon();
    found.in = inputs_of(read_live_state());
    found.decision = arbitrate(found.in);
    found.recorded = router::plain_item<8>(DI_IFA_WAN_PRIORITY);
    found.link_detection = get_CFG_int(USR_WAN_LINK_DETECT_SW);
    found.uplink_count = router::list_uplinks(found.in.wan_mode, found.uplinks);
    text<2> flag;
    flag_get_item(SUBNET_CONFLICT_FLAG, flag.data(), flag.size());
    found.conflict = is_one(flag);
    for (size_t i = 0; i < found.uplink_count && !found.overlap_found; i++)
        found.overlap_found = router::find_overlap(found.uplinks[i], found.overlap);
    found.batch = read_last_batch();
}

// ---- as text

static bool has_colours = false;

// What is fine is green, what is not is red; only where somebody looks.
static void print_verdict(bool is_fine, const char *words) {
    if (has_colours)
        print("\033[%dm%s\033[0m", is_fine ? 32 : 31, words);
    else
        print("%s", words);
}

static bool wants_colours() {
    const char *const no_colour = getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) == 1 && (no_colour == nullptr || no_colour[0] == '\0');
}

static void print_heading(const char *words) {
    print("%-15s ", words);
}

static void print_daemon(const router::daemon_state &daemon) {
    print_heading("uplinkd");
    print_verdict(daemon.pid != 0, daemon.pid != 0 ? "running" : "not running");
    if (daemon.pid != 0)
        print(", pid %d", daemon.pid);
    if (daemon.is_registered)
        print(daemon.pid != 0 ? ", registered on the bus\n"
                              : ", but application 24 is registered by somebody else\n");
    else
        print(daemon.pid != 0 ? ", NOT registered on the bus\n" : "\n");
    if (daemon.waits_for_settings)
        print("%-15s waits for the configuration daemon's marker\n%-15s " SETTINGSD_MARKER "\n", "",
              "");
    if (daemon.waits_for_lan)
        print("%-15s waits for the LAN manager's flag %s\n", "", DOWNLINKD_FLAG);
}

// IPv6 addresses are so long that each has a line.
static void print_addresses(const char *heading, const char *address, const char *netmask,
                            const char *gateway, const text<64> (&dns)[2]) {
    const bool is_long = netmask == nullptr;
    const char *const next = is_long ? "\n                " : ", ";
    if (address[0] == '\0' && gateway[0] == '\0' && dns[0].empty() && dns[1].empty())
        return;
    print("  %-13s %.39s", heading, address[0] == '\0' ? "no address" : address);
    if (!is_long && netmask[0] != '\0')
        print("/%s", netmask);
    if (gateway[0] != '\0')
        print("%sgateway %.39s", next, gateway);
    print("\n");
    for (const text<64> &server : dns)
        if (!server.empty())
            print("%-15s DNS %.39s\n", "", server.c_str());
}

void router::print_uplink(const uplink_state &uplink, int link_detection) {
    print_heading(title(uplink).c_str());
    print("%s", uplink.ifname.empty() ? "(no interface)" : uplink.ifname.c_str());
    if (uplink.link != link_state::unknown)
        print(", link %s", link_text(uplink.link));
    print(uplink.is_up ? ", up" : ", down");
    const bool stored = is_one(uplink.stored_verdict);
    const bool connected = link_detection != 0 ? stored : uplink.missing == missing_piece::none;
    if (uplink.has_verdict) {
        print(", ");
        print_verdict(connected, connected ? "connected" : "not connected");
        if (link_detection == 0 && uplink.is_up && !connected)
            print(": %s", missing_text(uplink.missing));
    }
    print("\n");
    if (uplink.has_verdict && connected != stored)
        print("%15s (on record is '%s': WAN_STATUS_CHANGE renews it)\n", "",
              uplink.stored_verdict.c_str());
}

static void print_details(const router::uplink_state &uplink) {
    const text<64> none[2] = {};
    print_addresses("IPv4", uplink.ipv4.c_str(), uplink.netmask.c_str(), uplink.gateway.c_str(),
                    uplink.dns);
    print_addresses("IPv6", uplink.ipv6.c_str(), nullptr, uplink.ipv6_gateway.c_str(),
                    uplink.kind == router::uplink_kind::mobile ? none : uplink.ipv6_dns);
    for (const router::client_state &client : uplink.clients.all())
        print("  %-13s %s, pid %d%s\n", "client", client.program, client.pid,
              client.alive ? "" : ", which is gone");
}

static text<32> age_text(time_t seconds) {
    text<32> words;
    const auto count = static_cast<long>(seconds < 0 ? 0 : seconds);
    const struct {
        long unit;
        const char *name;
    } UNITS[] = {{86400, "d"}, {3600, "h"}, {60, "min"}, {1, "s"}};
    for (const auto &[unit, name] : UNITS) {
        if (count < 2 * unit && unit > 1)
            continue;
        snprintf(words.data(), sizeof words.chars, "%ld %s ago", count / unit, name);
        break;
    }
    return words;
}

static void print_status(const status &found) {
    print_daemon(found.daemon);
    print_heading("WAN mode");
    print("%d: %s\n", found.in.wan_mode, router::mode_text(found.in.wan_mode));
    if (is_mix_mode(found.in.wan_mode)) {
        print_heading("strategy");
        print("%d: %s\n", found.in.strategy, router::strategy_text(found.in.strategy));
    }
    print_heading("priority");
    if (found.recorded.empty())
        print("none yet\n");
    else
        print("%s, %s\n", found.recorded.c_str(),
              router::priority_text(to_int(found.recorded.c_str())));
    const bool outdated =
        !found.recorded.empty() && to_int(found.recorded.c_str()) != found.decision.priority;
    if (outdated)
        print("%-15s outdated: now it would be %s\n", "",
              router::priority_text(found.decision.priority));
    print("%-15s %s\n", "", arbitration_rule_text(found.decision.rule));
    print_heading("conflict");
    print_verdict(!found.conflict, found.conflict ? "a WAN's network overlaps a LAN's" : "none");
    print("\n");
    if (found.overlap_found)
        print("%-15s %s %d %s/%s\n%-15s WAN %d %s/%s\n", "", found.overlap.is_vlan ? "VLAN" : "LAN",
              found.overlap.lan_index, found.overlap.lan_address.c_str(),
              found.overlap.lan_netmask.c_str(), "", found.overlap.wan_index,
              found.overlap.wan_address.c_str(), found.overlap.wan_netmask.c_str());
    for (size_t i = 0; i < found.uplink_count; i++) {
        router::print_uplink(found.uplinks[i], found.link_detection);
        print_details(found.uplinks[i]);
    }
    print_heading("last batch");
    if (found.batch.script.empty())
        print("none\n");
    else
        print("%s,\n%-15s %d commands, %s%s\n", found.batch.owner.c_str(), "", found.batch.commands,
              age_text(time(nullptr) - found.batch.written).c_str(),
              found.batch.is_run ? "" : ", not run yet");
}

// ---- as JSON

static void write_addresses(const char *name, const char *address, const char *netmask,
                            const char *gateway, const text<64> (&dns)[2]) {
    output::open(name, '{');
    output::text_member("address", address);
    if (netmask != nullptr)
        output::text_member("netmask", netmask);
    output::text_member("gateway", gateway);
    output::open("dns", '[');
    for (const text<64> &server : dns)
        if (!server.empty())
            output::text_member(nullptr, server.c_str());
    output::close(']');
    output::close('}');
}

void router::write_uplink(const uplink_state &uplink, int link_detection) {
    output::open(nullptr, '{');
    output::text_member("kind", kind_name(uplink.kind));
    output::number_member("index", uplink.index);
    output::text_member("interface", uplink.ifname.c_str());
    output::text_member("link", link_text(uplink.link));
    output::bool_member("up", uplink.is_up);
    if (uplink.has_verdict) {
        output::open("verdict", '{');
        output::bool_member("connected", is_one(uplink.stored_verdict));
        output::text_member("by", link_detection != 0 ? "network monitor" : "daemon");
        if (link_detection != 0)
            output::null_member("missing");
        else
            output::text_member("missing", missing_name(uplink.missing));
        output::close('}');
    } else {
        output::null_member("verdict");
    }
    write_addresses("ipv4", uplink.ipv4.c_str(), uplink.netmask.c_str(), uplink.gateway.c_str(),
                    uplink.dns);
    write_addresses("ipv6", uplink.ipv6.c_str(), nullptr, uplink.ipv6_gateway.c_str(),
                    uplink.ipv6_dns);
    output::open("clients", '[');
    for (const client_state &client : uplink.clients.all()) {
        output::open(nullptr, '{');
        output::text_member("client", client.program);
        output::number_member("pid", client.pid);
        output::bool_member("alive", client.alive);
        output::close('}');
    }
    output::close(']');
    output::close('}');
}

static void write_status(const status &found) {
    output::open(nullptr, '{');
    output::text_member("format", "uplinkd-status");
    output::number_member("version", 1);
    output::open("daemon", '{');
    output::bool_member("running", found.daemon.pid != 0);
    output::number_member("pid", found.daemon.pid);
    output::bool_member("registered", found.daemon.is_registered);
    output::open("waits_for", '[');
    if (found.daemon.waits_for_settings)
        output::text_member(nullptr, SETTINGSD_MARKER);
    if (found.daemon.waits_for_lan)
        output::text_member(nullptr, DOWNLINKD_FLAG);
    output::close(']');
    output::close('}');
    output::number_member("wan_mode", found.in.wan_mode);
    output::text_member("wan_mode_text", router::mode_text(found.in.wan_mode));
    output::number_member("strategy", found.in.strategy);
    output::text_member("strategy_text", router::strategy_text(found.in.strategy));
    output::text_member("recorded_priority", found.recorded.c_str());
    output::number_member("decided_priority", found.decision.priority);
    output::text_member("rule", arbitration_rule_name(found.decision.rule));
    output::text_member("rule_text", arbitration_rule_text(found.decision.rule));
    output::bool_member("conflict", found.conflict);
    output::open("uplinks", '[');
    for (size_t i = 0; i < found.uplink_count; i++)
        router::write_uplink(found.uplinks[i], found.link_detection);
    output::close(']');
    if (!found.batch.script.empty()) {
        output::open("last_batch", '{');
        output::text_member("owner", found.batch.owner.c_str());
        output::number_member("commands", found.batch.commands);
        output::number_member("age", static_cast<long>(time(nullptr) - found.batch.written));
        output::bool_member("run", found.batch.is_run);
        output::close('}');
    } else {
        output::null_member("last_batch");
    }
    output::close('}');
    output::end_line();
}

int show_status(operands given) {
    if (given.size() == 1 && strcmp(given[0], "--json") != 0)
        return wrong_operands();
    static status found;
    find_out(found);
    has_colours = wants_colours();
    if (given.empty())
        print_status(found);
    else
        write_status(found);
    return output::flush();
}
