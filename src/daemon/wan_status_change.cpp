// Re-evaluates the connections, arbitrates, and acts only when the decision differs from the one
// before: stores it, tells the others, and in a mix mode that falls back to the mobile network
// considers a reboot and a notice.

#include "daemon/wan_status_change.h"

#include <cstdio>
#include <unistd.h>

#include "arbitration/connection_status.h"
#include "arbitration/live_state.h"
#include "arbitration/notice_timer.h"
#include "base/log_forms.h"
#include "base/messages.h"
#include "base/outgoing.h"
#include "base/text.h"
#include "platform/config_store.h"
#include "platform/devinfo_store.h"
#include "platform/system.h"
#include "wan/items.h"
#include "wan/modes.h"
#include "wan/setting_keys.h"

// What the previous run decided; -1 before the first, which therefore always finds a change.
static int uplinkd_network_priority UPLINKD_GUARDED_BY(uplinkd_handler_mutex) = -1;
// The configuration refuses a reboot: said once in the life of the process.
static bool uplinkd_reboot_refusal_pending UPLINKD_GUARDED_BY(uplinkd_handler_mutex) = true;

static constexpr unsigned REBOOT_GRACE_SECONDS = 10;

// Whether a mode of fixed priority finds its uplink without a connection. A wireless link that is
// not there at all is no news.
static bool lost_connection(const live_state &live) {
    const bool wlan_unconnected = to_int(live.wlan_wan_connstatus.c_str()) == 0;
    switch (live.wan_mode) {
    case WAN_MODE_MOBILE: return !is_one(live.mobile_connstatus);
    case WAN_MODE_WIRED:
    case WAN_MODE_BRIDGE: return to_int(live.wired_wan_connstatus.c_str()) == 0;
    case WAN_MODE_WLAN24:
        return to_int(live.wlan_link_status_24g_current.c_str()) == WLAN_LINKED && wlan_unconnected;
    case WAN_MODE_WLAN58:
        return to_int(live.wlan_link_status_58g_current.c_str()) == WLAN_LINKED && wlan_unconnected;
    default: return false;
    }
}

static bool modem_is_abnormal() {
    const text<2> first = item_text<2>(DI_MODEM_ABNORMAL_1);
    const text<2> second = item_text<2>(DI_MODEM_ABNORMAL_2);
    return is_one(first) || is_one(second);
}

static void store_priority(int priority) {
    text<4> digit;
    const int length = snprintf(digit.data(), sizeof digit.chars, "%01d", priority);
    set_devinfo_value_by_id(DI_IFA_WAN_PRIORITY, digit.c_str(), length);
}

// Priority has passed to the mobile network, so its modem had better work. Logs in the caller's
// place.
static void reboot_if_modem_is_abnormal(log_site site = caller_site()) UPLINKD_HANDLER {
    if (!modem_is_abnormal())
        return;
    // A read that leaves the buffer alone refuses a reboot; a setting that is not there, and so
    // leaves the empty text, allows it.
    text<2> allowed = {"0"};
    cfg_get_item(SYS_REBOOT_WHEN_MODEM_UNORMAL, allowed.data(), allowed.size());
    if (allowed.empty()) {
        UPLINKD_DEBUG_AT(site, "cfg_get DC_SYS_REBOOT_WHEN_MODEM_UNORMAL failed!");
        allowed = {"1"};
    }
    const bool reboot = is_one(allowed);
    if (!reboot && !uplinkd_reboot_refusal_pending)
        return;
    if (reboot)
        UPLINKD_DEBUG_AT(site, "<<<<< System allow reboot when modem unormal, do it soon. <<<<<");
    else
        UPLINKD_DEBUG_AT(site, "<<<<< System not allow reboot when modem unormal. <<<<<");
    UPLINKD_TRACE_AT(site, LOG_EVENT,
                     "uplinkd reboot system cause need switch to mobile network and modem unormal "
                     "detected...");
    log_bakup_imediately("uplinkd ask for reboot");
    if (reboot) {
        util_does_system_opt_reboot("uplinkd reboot system cause need switch to mobile network and "
                                    "modem unormal detected.");
        sleep(REBOOT_GRACE_SECONDS);
    } else {
        uplinkd_reboot_refusal_pending = false;
    }
}

int wan_status_change_handler() {
    uplinkd_update_connstatus();

    const live_state live = read_live_state();
    const char *mobile_connstatus = live.mobile_connstatus.c_str();
    const char *wired_wan_connstatus = live.wired_wan_connstatus.c_str();
    const char *wlan_wan_connstatus = live.wlan_wan_connstatus.c_str();
    const char *link_24g = live.wlan_link_status_24g_current.c_str();
    const char *link_58g = live.wlan_link_status_58g_current.c_str();
    const char *mobile_netstatus = live.mobile_netstatus.c_str();
    const char *wan_netstatus = live.wan_netstatus.c_str();

    UPLINKD_DEBUG("wan_mode(%d) priority(%d)\n", live.wan_mode, live.strategy);
    UPLINKD_DEBUG("mobile_connstatus(%s) wired_wan_connstatus(%s) wlan_wan_connstatus(%s)\n",
                  mobile_connstatus, wired_wan_connstatus, wlan_wan_connstatus);
    UPLINKD_DEBUG("wlan_link_status_24g_current(%s) wlan_link_status_58g_current(%s)\n", link_24g,
                  link_58g);
    UPLINKD_DEBUG("mobile_netstatus(%s) wan_netstatus(%s)\n", mobile_netstatus, wan_netstatus);

    const arbitration_decision decision = arbitrate(inputs_of(live));
    if (lost_connection(live))
        UPLINKD_TRACE(LOG_EVENT, "connect status change in wan_mode %d", live.wan_mode);
    if (decision.rule == arbitration_rule::invalid_mode)
        UPLINKD_TRACE(LOG_EVENT, "invalid wan_mode (%d)!", live.wan_mode);
    if (decision.rule == arbitration_rule::invalid_strategy)
        UPLINKD_TRACE(LOG_EVENT, "invalid priority: %d", live.strategy);

    const int previous = uplinkd_network_priority;
    if (decision.priority == previous)
        return 0;

    for (const log_form form : BOTH_FORMS) {
        UPLINKD_LOG(form, "network prioroty changed from %d to %d", previous, decision.priority);
        UPLINKD_LOG(form, "wan_mode(%d) priority(%d)\n", live.wan_mode, live.strategy);
        UPLINKD_LOG(form, "mobile_connstatus(%s) wired_wan_connstatus(%s) wlan_wan_connstatus(%s)",
                    mobile_connstatus, wired_wan_connstatus, wlan_wan_connstatus);
        UPLINKD_LOG(form, "wlan_link_status_24g_current(%s) wlan_link_status_58g_current(%s)",
                    link_24g, link_58g);
        UPLINKD_LOG(form, "mobile_netstatus(%s) wan_netstatus(%s)", mobile_netstatus,
                    wan_netstatus);
    }

    uplinkd_network_priority = decision.priority;
    store_priority(decision.priority);

    if (!is_mix_mode(live.wan_mode)) {
        uplinkd_send_msg2pfilterd(UPLINKD_MSG_WAN_PRIO_CHANGED, nullptr, 0);
        return 0;
    }
    if (decision.priority == NETWORK_PRIORITY_WAN) {
        uplinkd_send_prio_changed_msg();
        return 0;
    }

    reboot_if_modem_is_abnormal();
    if (live.strategy == PRIORITY_STRATEGY_WAN_FIRST)
        uplinkd_notice_timer_arm();
    else
        UPLINKD_DEBUG(
            "DC_USR_WAN_COMMUNICATION_PRIORITY_STRATEGY(%d), no need send text message...",
            live.strategy);
    uplinkd_send_prio_changed_msg();
    return 0;
}
