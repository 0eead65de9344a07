// The arbitration, as a pure function from what is known to a decision: a ladder of rules, of which
// the first that applies decides.
#pragma once

#include <array>

#include "base/packed_texts.h"
#include "wan/modes.h"

struct arbitration_inputs {
    int wan_mode;
    int strategy;
    bool mobile_up;        // the mobile network is available
    bool mobile_connected; // and connected at the IP level
    bool wan_up;           // the wired WAN has been brought up
    bool wan_connected;    // and is connected at the IP level
};

// RULE(name, why in words)
// clang-format off
#define UPLINKD_ARBITRATION_RULES(RULE)                                                            \
    RULE(mobile_only_mode, "the mode uses the mobile network only")                                \
    RULE(wan_only_mode, "in this mode the WAN always has priority")                                \
    RULE(invalid_mode, "the WAN mode is invalid")                                                  \
    RULE(mobile_first_mobile_down, "mobile first, but the mobile network is down")                 \
    RULE(mobile_first_mobile_connected, "mobile first, and the mobile network is connected")       \
    RULE(mobile_first_wan_down, "mobile first, not connected, but the WAN is down too")            \
    RULE(mobile_first_wan_instead, "mobile first, but it is not connected and the WAN is up")      \
    RULE(wan_first_wan_down, "WAN first, but the WAN is down")                                     \
    RULE(wan_first_wan_connected, "WAN first, and the WAN is connected")                           \
    RULE(wan_first_mobile_down, "WAN first, not connected, but the mobile network is down too")    \
    RULE(wan_first_mobile_instead, "WAN first, but it is not connected and the mobile network is up") \
    RULE(invalid_strategy, "the priority strategy is invalid")
// clang-format on

enum class arbitration_rule {
#define RULE(name, why) name,
    UPLINKD_ARBITRATION_RULES(RULE)
#undef RULE
};

inline constexpr char ARBITRATION_RULE_TEXTS[] =
#define RULE(name, why) #name "\0" why "\0"
    UPLINKD_ARBITRATION_RULES(RULE)
#undef RULE
    ;

// The rule's name, and why in words.
constexpr const char *arbitration_rule_name(arbitration_rule rule) {
    return nth_text(ARBITRATION_RULE_TEXTS, 2 * static_cast<size_t>(rule));
}
constexpr const char *arbitration_rule_text(arbitration_rule rule) {
    return next_text(arbitration_rule_name(rule));
}

// Which uplink carries the router's traffic, and the rule that decided.
struct arbitration_decision {
    int priority; // NETWORK_PRIORITY_MOBILE or NETWORK_PRIORITY_WAN
    arbitration_rule rule;
};

// A rule of a mix mode: it applies when a fact is as it says; the last one always does.
struct arbitration_rung {
    bool arbitration_inputs::*fact; // null: always
    bool wanted;
    arbitration_decision decision;
};

using arbitration_ladder = std::array<arbitration_rung, 4>;

inline constexpr arbitration_ladder MOBILE_FIRST_LADDER = {{
    {&arbitration_inputs::mobile_up,
     false,
     {NETWORK_PRIORITY_WAN, arbitration_rule::mobile_first_mobile_down}},
    {&arbitration_inputs::mobile_connected,
     true,
     {NETWORK_PRIORITY_MOBILE, arbitration_rule::mobile_first_mobile_connected}},
    {&arbitration_inputs::wan_up,
     false,
     {NETWORK_PRIORITY_MOBILE, arbitration_rule::mobile_first_wan_down}},
    {nullptr, true, {NETWORK_PRIORITY_WAN, arbitration_rule::mobile_first_wan_instead}},
}};

inline constexpr arbitration_ladder WAN_FIRST_LADDER = {{
    {&arbitration_inputs::wan_up,
     false,
     {NETWORK_PRIORITY_MOBILE, arbitration_rule::wan_first_wan_down}},
    {&arbitration_inputs::wan_connected,
     true,
     {NETWORK_PRIORITY_WAN, arbitration_rule::wan_first_wan_connected}},
    {&arbitration_inputs::mobile_up,
     false,
     {NETWORK_PRIORITY_WAN, arbitration_rule::wan_first_mobile_down}},
    {nullptr, true, {NETWORK_PRIORITY_MOBILE, arbitration_rule::wan_first_mobile_instead}},
}};

// The first rung that applies. (Unrolled, so that the daemon has comparisons instead of the table.)
template <const arbitration_ladder &LADDER>
constexpr arbitration_decision climb(const arbitration_inputs &in) {
    const auto applies = [&](const arbitration_rung &rung) {
        return rung.fact == nullptr || in.*rung.fact == rung.wanted;
    };
    return applies(LADDER[0])   ? LADDER[0].decision
           : applies(LADDER[1]) ? LADDER[1].decision
           : applies(LADDER[2]) ? LADDER[2].decision
                                : LADDER[3].decision;
}

constexpr arbitration_decision arbitrate(const arbitration_inputs &in) {
    using enum arbitration_rule;
    switch (in.wan_mode) {
    case WAN_MODE_MOBILE: return {NETWORK_PRIORITY_MOBILE, mobile_only_mode};
    case WAN_MODE_WIRED:
    case WAN_MODE_WLAN24:
    case WAN_MODE_WLAN58:
    case WAN_MODE_BRIDGE: return {NETWORK_PRIORITY_WAN, wan_only_mode};
    case WAN_MODE_MIX:
    case WAN_MODE_BRIDGE_MIX: break;
    default: return {NETWORK_PRIORITY_MOBILE, invalid_mode};
    }
    switch (in.strategy) {
    case PRIORITY_STRATEGY_MOBILE_FIRST: return climb<MOBILE_FIRST_LADDER>(in);
    case PRIORITY_STRATEGY_WAN_FIRST: return climb<WAN_FIRST_LADDER>(in);
    default: return {NETWORK_PRIORITY_MOBILE, invalid_strategy};
    }
}
