// uplinkctl explain: what the arbitration goes by and where each input comes from, the rules of the
// mode with the one that decides, what each uplink lacks, and which networks overlap. With --set,
// the same for other values: the daemon's own functions, in stores that differ by these.
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "arbitration/live_state.h"
#include "platform/config_store.h"
#include "platform/flag_store.h"
#include "tools/cli.h"
#include "tools/names.h"
#include "tools/output.h"
#include "tools/router_state.h"
#include "tools/uplinkctl.h"
#include "tools/what_if.h"
#include "wan/flags.h"
#include "wan/setting_keys.h"
#include "wan/wan_port.h"
#include "wan/wan_settings.h"

using output::print;

namespace {

struct request {
    bool json = false;
    bool what_if = false;
};

// What a changed link has the daemon do at once, before the arbitration.
struct link_change {
    const uplink *wan = nullptr; // null: no link of this mode changes
    bool to_up = false;
    bool learns = false; // its addresses come from a server
};

struct explanation {
    arbitration_inputs in;
    arbitration_decision decision;
    int link_detection;
    std::array<router::uplink_state, router::MAX_UPLINKS> uplinks;
    size_t uplink_count;
};

} // namespace

// ---- finding out

static int parse_request(operands given, request &wanted) {
    for (; !given.empty(); given = given.subspan(1)) {
        if (strcmp(given[0], "--json") == 0) {
            wanted.json = true;
            continue;
        }
        if (strcmp(given[0], "--set") != 0 || given.size() < 2)
            return wrong_operands();
        given = given.subspan(1);
        text<48> name;
        const char *const equals = strchr(given[0], '=');
        const auto length = static_cast<size_t>(equals == nullptr ? 0 : equals - given[0]);
        if (length == 0 || length >= sizeof name.chars)
            return wrong_operands();
        memcpy(name.data(), given[0], length);
        if (!what_if::set(name.c_str(), equals + 1))
            return cli::wrong_usage("'%s' is no item and no setting", name.c_str());
        wanted.what_if = true;
    }
    return cli::DONE;
}

// The daemon recomputes the verdicts before it decides; a look at what is leaves them as they are.
static void find_out(bool recompute, explanation &found) {
    what_if::forget();
    what_if::begin();
    if (recompute)
        uplinkd_update_connstatus();
    found.in = inputs_of(read_live_state());
    what_if::end();
    found.decision = arbitrate(found.in);
    found.link_detection = get_CFG_int(USR_WAN_LINK_DETECT_SW);
    found.uplink_count = router::list_uplinks(found.in.wan_mode, found.uplinks);
}

static int item(uint32_t id) {
    return static_cast<int>(id);
}

static explanation as_it_is; // without the values given with --set

static const router::uplink_state *wan_of_mode(const explanation &found) {
    for (size_t i = 0; i < found.uplink_count; i++)
        if (found.uplinks[i].has_verdict && found.uplinks[i].kind != router::uplink_kind::mobile)
            return &found.uplinks[i];
    return nullptr;
}

// Where another value would change the link, what bring-up or tear-down would set follows.
static link_change follow_link(const explanation &found) {
    const uplink *wan = uplink_of_mode(found.in.wan_mode);
    const router::uplink_state *state = wan_of_mode(found);
    if (wan == nullptr || found.in.wan_mode != as_it_is.in.wan_mode ||
        state->link == wan_of_mode(as_it_is)->link || state->link == router::link_state::unknown)
        return {};
    const bool up = state->link == router::link_state::up;
    const bool learns = learns_address(*wan, setting_text<12>(USR_WAN_IPMODE).c_str());
    what_if::set_item(item(wan->items.netstatus_id), up ? "1" : "0");
    if (!up && found.in.wan_mode != WAN_MODE_BRIDGE_MIX)
        for (const uint32_t id :
             {wan->items.ipv4_addr_id, wan->items.ipv4_netmask_id, wan->items.ipv4_gateway_id,
              wan->items.ipv4_dns1_id, wan->items.ipv4_dns2_id})
            what_if::set_item(item(id), "");
    return {wan, up, learns};
}

// As if a server had answered.
static void assume_lease(const uplink &wan) {
    const struct {
        uint32_t id;
        const char *value;
    } LEASE[] = {{wan.items.ipv4_addr_id, "an address"},
                 {wan.items.ipv4_netmask_id, "a netmask"},
                 {wan.items.ipv4_gateway_id, "a gateway"},
                 {wan.items.ipv4_dns1_id, "a DNS server"}};
    for (const auto &[id, value] : LEASE)
        what_if::set_item(item(id), value);
}

// ---- as text

static const char *yes(bool is_so) {
    return is_so ? "yes" : "no";
}

static void print_input(const char *what, const char *value, int id) {
    const text<24> stored = router::plain_item<24>(id);
    print("  %-18s %-4s item %s = '%s'\n", what, value, names::item_label(id).c_str(),
          stored.c_str());
}

static void print_inputs(const arbitration_inputs &in) {
    print("The arbitration goes by\n");
    print("  %-18s %-4d setting %s\n", "WAN mode", in.wan_mode, USR_WAN_MODE);
    if (!is_mix_mode(in.wan_mode))
        return;
    print("  %-18s %-4d setting USR_WAN_COMMUNICATION_PRIORITY_STRATEGY\n", "strategy",
          in.strategy);
    print_input("mobile up", yes(in.mobile_up), DI_IFA_MOBILE_NETSTATUS);
    print_input("mobile connected", yes(in.mobile_connected), DI_IFA_MOBILE_CONNSTATUS);
    print_input("WAN up", yes(in.wan_up), DI_IFA_WIRED_WAN_NETSTATUS);
    print_input("WAN connected", yes(in.wan_connected), DI_IFA_WIRED_WAN_CONNSTATUS);
}

static const arbitration_ladder *ladder_of(const arbitration_inputs &in) {
    if (!is_mix_mode(in.wan_mode))
        return nullptr;
    switch (in.strategy) {
    case PRIORITY_STRATEGY_MOBILE_FIRST: return &MOBILE_FIRST_LADDER;
    case PRIORITY_STRATEGY_WAN_FIRST: return &WAN_FIRST_LADDER;
    default: return nullptr;
    }
}

static void print_rules(const explanation &found) {
    const arbitration_ladder *ladder = ladder_of(found.in);
    print("Rules of this mode, of which the first that applies decides\n");
    if (ladder == nullptr) {
        print("  > %s\n", arbitration_rule_text(found.decision.rule));
        return;
    }
    for (const arbitration_rung &rung : *ladder)
        print("  %c %-62s %s\n", rung.decision.rule == found.decision.rule ? '>' : ' ',
              arbitration_rule_text(rung.decision.rule),
              rung.decision.priority == NETWORK_PRIORITY_WAN ? "WAN" : "mobile");
}

static void print_decision(const char *what, const arbitration_decision &decision) {
    print("%-10s %d, %s: %s\n", what, decision.priority, router::priority_text(decision.priority),
          arbitration_rule_text(decision.rule));
}

static void print_network(const char *side, int index, const char *address, const char *netmask) {
    if (index < 0)
        print("%-10s %-6s %s/%s\n", "", side, address, netmask);
    else
        print("%-10s %s %-*d %s/%s\n", "", side, static_cast<int>(5 - strlen(side)), index, address,
              netmask);
}

static void print_networks(const router::overlap &overlap) {
    print_network(overlap.is_vlan ? "VLAN" : "LAN", overlap.lan_index, overlap.lan_address.c_str(),
                  overlap.lan_netmask.c_str());
    print_network("WAN", overlap.wan_index, overlap.wan_address.c_str(),
                  overlap.wan_netmask.c_str());
}

static void print_overlap(const router::overlap &overlap) {
    print("conflict   these overlap:\n");
    print_networks(overlap);
}

// A WAN that was reset has lost the address for which it was; the log still has it.
static void print_reset() {
    text<2> flag;
    flag_get_item(SUBNET_CONFLICT_FLAG, flag.data(), flag.size());
    router::overlap overlap;
    text<24> time;
    if (!is_one(flag))
        return;
    print("reset      a WAN's network overlapped a LAN's, and was taken down\n");
    if (router::find_logged_overlap(overlap, time)) {
        print("%-10s %s\n", "", time.c_str());
        print_networks(overlap);
    }
}

static void print_facts(const explanation &found) {
    for (size_t i = 0; i < found.uplink_count; i++)
        router::print_uplink(found.uplinks[i], found.link_detection);
    for (size_t i = 0; i < found.uplink_count; i++)
        if (router::overlap overlap; router::find_overlap(found.uplinks[i], overlap))
            print_overlap(overlap);
    print_reset();
}

static void print_mode(const arbitration_inputs &in) {
    print("WAN mode   %d (%s)\n", in.wan_mode, router::mode_text(in.wan_mode));
    if (is_mix_mode(in.wan_mode))
        print("strategy   %d (%s)\n", in.strategy, router::strategy_text(in.strategy));
}

// The priority that the daemon has stored, beside what follows from the inputs now. It stores one
// only when that differs from the one that it decided on before.
static void print_recorded(int decided) {
    const text<8> stored = router::plain_item<8>(DI_IFA_WAN_PRIORITY);
    if (stored.empty())
        print("recorded   none yet\n");
    else if (strcmp(stored.c_str(), decided == NETWORK_PRIORITY_WAN ? "1" : "0") == 0)
        print("recorded   %d, the same\n", decided);
    else
        print("recorded   '%s', not the same: stored before the inputs changed, or by somebody "
              "else\n",
              stored.c_str());
}

static void print_now(const explanation &found) {
    print_mode(found.in);
    print_decision("priority", found.decision);
    print_recorded(found.decision.priority);
    print("\n");
    print_inputs(found.in);
    print_rules(found);
    print("\n");
    print_facts(found);
}

static void print_what_if(explanation &found) {
    print_mode(found.in);
    const link_change change = follow_link(found);
    if (change.wan != nullptr) {
        print("link       goes %s: the daemon %s %s\n", change.to_up ? "up" : "down",
              change.to_up ? "brings up" : "takes down", change.wan->default_ifname);
        find_out(true, found);
    }
    print_decision("priority", found.decision);
    if (change.wan != nullptr && change.to_up && change.learns) {
        explanation later = found;
        assume_lease(*change.wan);
        find_out(true, later);
        print_decision("with lease", later.decision);
    }
    print("\n");
    print_inputs(found.in);
    print_rules(found);
    if (change.to_up && change.learns)
        return;
    print("\n");
    print_facts(found);
}

// ---- as JSON

static void write_input(const char *name, bool value, int id) {
    output::open(nullptr, '{');
    output::text_member("name", name);
    output::bool_member("value", value);
    output::number_member("item", id);
    output::text_member("item_name", names::of_item(id).c_str());
    output::text_member("item_value", router::plain_item<24>(id).c_str());
    output::close('}');
}

static void write_setting(const char *name, int value, const char *key) {
    output::open(nullptr, '{');
    output::text_member("name", name);
    output::number_member("value", value);
    output::text_member("setting", key);
    output::close('}');
}

static void write_rule(const arbitration_decision &rule, bool decides) {
    output::open(nullptr, '{');
    output::text_member("rule", arbitration_rule_name(rule.rule));
    output::text_member("text", arbitration_rule_text(rule.rule));
    output::number_member("priority", rule.priority);
    output::bool_member("decides", decides);
    output::close('}');
}

static void write_overlaps(const explanation &found) {
    output::open("conflicts", '[');
    for (size_t i = 0; i < found.uplink_count; i++) {
        router::overlap overlap;
        if (!router::find_overlap(found.uplinks[i], overlap))
            continue;
        output::open(nullptr, '{');
        output::text_member("side", overlap.is_vlan ? "vlan" : "lan");
        output::number_member("lan_index", overlap.lan_index);
        output::text_member("lan_address", overlap.lan_address.c_str());
        output::text_member("lan_netmask", overlap.lan_netmask.c_str());
        output::number_member("wan_index", overlap.wan_index);
        output::text_member("wan_address", overlap.wan_address.c_str());
        output::text_member("wan_netmask", overlap.wan_netmask.c_str());
        output::close('}');
    }
    output::close(']');
}

static void write_explanation(explanation &found, bool is_what_if) {
    if (is_what_if && follow_link(found).wan != nullptr)
        find_out(true, found);
    const arbitration_inputs &in = found.in;
    output::open(nullptr, '{');
    output::text_member("format", "uplinkd-explanation");
    output::number_member("version", 1);
    output::bool_member("what_if", is_what_if);
    output::open("inputs", '[');
    write_setting("wan_mode", in.wan_mode, USR_WAN_MODE);
    write_setting("strategy", in.strategy, USR_WAN_COMMUNICATION_PRIORITY_STRATEGY);
    write_input("mobile_up", in.mobile_up, DI_IFA_MOBILE_NETSTATUS);
    write_input("mobile_connected", in.mobile_connected, DI_IFA_MOBILE_CONNSTATUS);
    write_input("wan_up", in.wan_up, DI_IFA_WIRED_WAN_NETSTATUS);
    write_input("wan_connected", in.wan_connected, DI_IFA_WIRED_WAN_CONNSTATUS);
    output::close(']');
    output::open("rules", '[');
    if (const arbitration_ladder *ladder = ladder_of(in))
        for (const arbitration_rung &rung : *ladder)
            write_rule(rung.decision, rung.decision.rule == found.decision.rule);
    else
        write_rule(found.decision, true);
    output::close(']');
    output::open("decision", '{');
    output::number_member("priority", found.decision.priority);
    output::text_member("rule", arbitration_rule_name(found.decision.rule));
    output::text_member("text", arbitration_rule_text(found.decision.rule));
    output::close('}');
    output::text_member("recorded_priority", router::plain_item<8>(DI_IFA_WAN_PRIORITY).c_str());
    output::open("uplinks", '[');
    for (size_t i = 0; i < found.uplink_count; i++)
        router::write_uplink(found.uplinks[i], found.link_detection);
    output::close(']');
    write_overlaps(found);
    output::close('}');
    output::end_line();
}

int explain_priority(operands given) {
    request wanted;
    find_out(false, as_it_is);
    if (const int status = parse_request(given, wanted); status != cli::DONE)
        return status;
    char mode[8];
    errno = 0;
    if (cfg_get_item(USR_WAN_MODE, mode, sizeof mode) != 0 && errno != 0 && errno != ENOENT)
        return cli::failure("cannot read the settings: %s", strerror(errno));

    static explanation found;
    find_out(wanted.what_if, found);
    if (wanted.json)
        write_explanation(found, wanted.what_if);
    else if (wanted.what_if)
        print_what_if(found);
    else
        print_now(found);
    return output::flush();
}
