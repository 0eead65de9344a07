// uplinkctl explain: what the arbitration knows now, what it decides from that, and by which rule.
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "arbitration/arbitration.h"
#include "platform/config_store.h"
#include "platform/devinfo_store.h"
#include "tools/cli.h"
#include "tools/uplinkctl.h"
#include "wan/items.h"
#include "wan/setting_keys.h"

static const char *mode_text(int wan_mode) {
    switch (wan_mode) {
    case WAN_MODE_MOBILE: return "mobile network only";
    case WAN_MODE_WIRED: return "wired WAN only";
    case WAN_MODE_WLAN24: return "wireless WAN on 2.4 GHz only";
    case WAN_MODE_WLAN58: return "wireless WAN on 5.8 GHz only";
    case WAN_MODE_MIX: return "mobile network and wired WAN, by strategy";
    case WAN_MODE_BRIDGE: return "mobile network and wired WAN, bridged";
    case WAN_MODE_BRIDGE_MIX: return "mobile network and wired WAN, bridged, by strategy";
    default: return "invalid";
    }
}

static const char *strategy_text(int wan_mode, int strategy) {
    if (!is_mix_mode(wan_mode))
        return "not used in this mode";
    switch (strategy) {
    case PRIORITY_STRATEGY_MOBILE_FIRST: return "mobile first";
    case PRIORITY_STRATEGY_WAN_FIRST: return "WAN first";
    default: return "invalid";
    }
}

static const char *priority_text(int priority) {
    return priority == NETWORK_PRIORITY_WAN ? "the WAN" : "the mobile network";
}

static bool is_item_up(int id) {
    char status[2];
    get_devinfo_value_by_id(id, status, sizeof status);
    return status[0] == '1';
}

static arbitration_inputs live_inputs() {
    return {
        .wan_mode = get_CFG_int(USR_WAN_MODE),
        .strategy = get_CFG_int(USR_WAN_COMMUNICATION_PRIORITY_STRATEGY),
        .mobile_up = is_item_up(DI_IFA_MOBILE_NETSTATUS),
        .mobile_connected = is_item_up(DI_IFA_MOBILE_CONNSTATUS),
        .wan_up = is_item_up(DI_IFA_WIRED_WAN_NETSTATUS),
        .wan_connected = is_item_up(DI_IFA_WIRED_WAN_CONNSTATUS),
    };
}

// The priority that the daemon has stored, beside what follows from the inputs now.
static std::array<char, 96> recorded_text(int decided) {
    char stored[8];
    get_devinfo_value_by_id(DI_IFA_WAN_PRIORITY, stored, sizeof stored);
    std::array<char, 96> text{};
    if (stored[0] == '\0')
        snprintf(text.data(), text.size(), "none yet");
    else if (stored[0] == '0' + decided && stored[1] == '\0')
        snprintf(text.data(), text.size(), "%d, the same", decided);
    else
        snprintf(text.data(), text.size(), "'%s', which the next status change will replace",
                 stored);
    return text;
}

static const char *up(bool is_up) {
    return is_up ? "up" : "down";
}
static const char *connected(bool is_connected) {
    return is_connected ? "connected" : "not connected";
}

int explain_priority(operands) {
    char mode[8];
    errno = 0;
    if (cfg_get_item(USR_WAN_MODE, mode, sizeof mode) != 0 && errno != 0 && errno != ENOENT)
        return cli::failure("cannot read the settings: %s", strerror(errno));

    const arbitration_inputs in = live_inputs();
    const arbitration_decision decision = arbitrate(in);
    char text[1024];
    snprintf(text, sizeof text,
             "WAN mode   %d (%s)\n"
             "strategy   %d (%s)\n"
             "mobile     %s, %s\n"
             "wired WAN  %s, %s\n"
             "priority   %d, %s: %s\n"
             "recorded   %s\n",
             in.wan_mode, mode_text(in.wan_mode), in.strategy,
             strategy_text(in.wan_mode, in.strategy), up(in.mobile_up),
             connected(in.mobile_connected), up(in.wan_up), connected(in.wan_connected),
             decision.priority, priority_text(decision.priority),
             arbitration_rule_text(decision.rule), recorded_text(decision.priority).data());
    return cli::print(text);
}
