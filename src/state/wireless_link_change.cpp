#include "state/wireless_link_change.h"

#include <cstdio>
#include <cstring>

#include "core/log_forms.h"
#include "core/messages.h"
#include "core/text.h"
#include "core/wan_mode_script.h"
#include "provision/wireless_wan.h"
#include "state/connection_status.h"
#include "state/uplinks.h"

// The link status texts of the last evaluation.
static text<8> uplinkd_wlan_link_status_24g_buff;
static text<8> uplinkd_wlan_link_status_58g_buff;

static constexpr int WLAN_LINKED = 4;

namespace {

struct band {
    const char *name; // as log lines have it
    int wan_mode;
    const uplink &wan;
    text<8> &kept;
};

constexpr band BANDS[] = {
    {"24g", WAN_MODE_WLAN24, WLAN24_UPLINK, uplinkd_wlan_link_status_24g_buff},
    {"58g", WAN_MODE_WLAN58, WLAN58_UPLINK, uplinkd_wlan_link_status_58g_buff},
};

} // namespace

static void bring_up(const band &band) {
    if (!uplinkd_is_wan_mode_script_present()) {
        uplinkd_process_wlan_up(band.wan_mode);
        return;
    }
    record_uplink_up(band.wan);
    run_wan_mode_script_set();
}

static void take_down(const band &band) {
    if (!uplinkd_is_wan_mode_script_present()) {
        uplinkd_process_wlan_down(band.wan_mode);
        return;
    }
    run_wan_mode_script_reset();
    record_uplink_down(band.wan);
}

int wan_wireless_status_change_handler(const uplinkd_msg_t *message) {
    const bool refresh =
        message != nullptr && message->msg_id == UPLINKD_MSG_ID_WAN_WIRELESS_MODE_REFRESH;
    const text<4> wan_mode = setting_text<4>("USR_WAN_MODE");
    const text<4> current[] = {item_text<4>(DI_IFA_WLAN24_LINK_STATUS),
                               item_text<4>(DI_IFA_WLAN58_LINK_STATUS)};

    LOG_DEBUG("wan_mode_current ->%s\n", wan_mode.c_str());
    for (size_t i = 0; i < 2; i++)
        LOG_DEBUG("wlan_link_status_%s_current ->%s, wlan_link_status_%s_buff ->%s\n",
                  BANDS[i].name, current[i].c_str(), BANDS[i].name, BANDS[i].kept.c_str());

    for (size_t i = 0; i < 2; i++) {
        const band &band = BANDS[i];
        if (strcmp(current[i].c_str(), band.kept.c_str()) == 0 && !refresh)
            continue;
        LOG_TRACE(LOG_EVENT, "detect wlan_link_status_%s change %s to %s", band.name,
                  band.kept.c_str(), current[i].c_str());
        if (to_int(wan_mode.c_str()) == band.wan_mode) {
            if (to_int(current[i].c_str()) == WLAN_LINKED)
                bring_up(band);
            else
                take_down(band);
        }
        snprintf(band.kept.data(), sizeof band.kept.chars, "%s", current[i].c_str());
        uplinkd_update_connstatus();
    }
    return 0;
}
