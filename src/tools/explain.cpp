// uplinkctl explain: what the arbitration knows now, what it decides from that, and by which rule.
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "arbitration/live_state.h"
#include "platform/config_store.h"
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

// The priority that the daemon has stored, beside what follows from the inputs now. It stores one
// only when that differs from the one that it decided on before.
static std::array<char, 128> recorded_text(int decided) {
    const text<8> stored = item_text<8>(DI_IFA_WAN_PRIORITY);
    std::array<char, 128> recorded{};
    if (stored.empty())
        snprintf(recorded.data(), recorded.size(), "none yet");
    else if (strcmp(stored.c_str(), decided == NETWORK_PRIORITY_WAN ? "1" : "0") == 0)
        snprintf(recorded.data(), recorded.size(), "%d, the same", decided);
    else
        snprintf(recorded.data(), recorded.size(),
                 "'%s', not the same: stored before the inputs changed, or by somebody else",
                 stored.c_str());
    return recorded;
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

    const arbitration_inputs in = inputs_of(read_live_state());
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
