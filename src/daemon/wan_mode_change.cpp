// Leaves the mode that was handled last and enters the configured one, also when both are the same:
// a repeated message takes a wired WAN down and, if its port has link, up again. A wireless one
// stays down until its link changes or is refreshed, since its handler sees no change.

#include "daemon/wan_mode_change.h"

#include "base/log_forms.h"
#include "base/messages.h"
#include "base/outgoing.h"
#include "base/text.h"
#include "daemon/wan_status_change.h"
#include "daemon/wired_port_change.h"
#include "daemon/wireless_link_change.h"
#include "platform/flag_store.h"
#include "provision/uplink_setup.h"
#include "wan/flags.h"
#include "wan/modes.h"
#include "wan/setting_keys.h"
#include "wan/uplinks.h"

// What the previous run saw; empty before the first.
static text<8> last_wan_mode UPLINKD_GUARDED_BY(uplinkd_handler_mutex);
static text<8> last_priority_strategy UPLINKD_GUARDED_BY(uplinkd_handler_mutex);

static constexpr int NO_PREVIOUS_MODE = -1;

int wan_mode_change_handler() {
    const text<4> wan_mode = setting_text<4>(USR_WAN_MODE);
    const text<4> strategy = setting_text<4>(USR_WAN_COMMUNICATION_PRIORITY_STRATEGY);

    for (const log_form form : BOTH_FORMS) {
        UPLINKD_LOG(form, "wan_mode_current ->%s , last_wan_mode ->%s\n", wan_mode.c_str(),
                    last_wan_mode.c_str());
        UPLINKD_LOG(form, "priority_strategy_current ->%s , priority_strategy ->%s\n",
                    strategy.c_str(), last_priority_strategy.c_str());
    }

    flag_set(SUBNET_CONFLICT_FLAG, "0");

    const int old_mode = last_wan_mode.empty() ? NO_PREVIOUS_MODE : to_int(last_wan_mode.c_str());
    const int new_mode = to_int(wan_mode.c_str());

    if (const uplink *wan = uplink_of_mode(old_mode); wan != nullptr)
        leave_uplink(*wan, old_mode);
    else if (old_mode != WAN_MODE_MOBILE && old_mode != NO_PREVIOUS_MODE)
        UPLINKD_TRACE(LOG_EVENT, "invalid wan_mode: %d", old_mode);

    for (const log_form form : BOTH_FORMS)
        UPLINKD_LOG(form, "detect wan_mode from %d change to %d", old_mode, new_mode);

    if (is_wireless_mode(new_mode))
        uplinkd_wireless_status_recheck();
    else if (is_wired_mode(new_mode))
        wan_wired_status_change_handler();
    else if (new_mode == WAN_MODE_MOBILE)
        uplinkd_send_msg2pfilterd(PFILTERD_MSG_ID_WAN_CHANGED, nullptr, 0);
    else
        UPLINKD_TRACE(LOG_EVENT, "invalid wan_mode: %d", new_mode);

    last_wan_mode = to_text<8>(wan_mode.c_str());
    last_priority_strategy = to_text<8>(strategy.c_str());
    wan_status_change_handler();
    return 0;
}

int uplinkd_wireless_status_recheck() {
    wan_wireless_status_change_handler(nullptr);
    return 0;
}
