// Both bands are followed in every mode, so that each knows its last link; only the band of the WAN
// mode is brought up or taken down.

#include "daemon/wireless_link_change.h"

#include <cstring>

#include "arbitration/connection_status.h"
#include "base/log_forms.h"
#include "base/messages.h"
#include "base/text.h"
#include "provision/uplink_setup.h"
#include "wan/setting_keys.h"
#include "wan/uplinks.h"

// The link status texts of the last evaluation.
static text<8> uplinkd_wlan_link_status_24g_buff UPLINKD_GUARDED_BY(uplinkd_handler_mutex);
static text<8> uplinkd_wlan_link_status_58g_buff UPLINKD_GUARDED_BY(uplinkd_handler_mutex);

namespace {

struct wlan_band {
    char name[4]; // as log lines have it
    int wan_mode;
    const uplink &wan;
    text<8> *kept UPLINKD_PT_GUARDED_BY(uplinkd_handler_mutex);
};

constexpr wlan_band BAND_24G = {"24g", WAN_MODE_WLAN24, WLAN24_UPLINK,
                                &uplinkd_wlan_link_status_24g_buff};
constexpr wlan_band BAND_58G = {"58g", WAN_MODE_WLAN58, WLAN58_UPLINK,
                                &uplinkd_wlan_link_status_58g_buff};

} // namespace

// Acts on what has become of one band's link; logs in the handler's place.
static void evaluate(const wlan_band &band, const text<4> &current, int wan_mode, bool refresh,
                     log_site site = caller_site()) UPLINKD_HANDLER {
    if (strcmp(current.c_str(), band.kept->c_str()) == 0 && !refresh)
        return;
    UPLINKD_TRACE_AT(site, LOG_EVENT, "detect wlan_link_status_%s change %s to %s", band.name,
                     band.kept->c_str(), current.c_str());
    if (wan_mode == band.wan_mode) {
        if (to_int(current.c_str()) == WLAN_LINKED)
            bring_uplink_up(band.wan, wan_mode);
        else
            take_uplink_down(band.wan, wan_mode);
    }
    *band.kept = to_text<8>(current.c_str());
    uplinkd_update_connstatus();
}

int wan_wireless_status_change_handler(const uplinkd_msg_t *message) {
    const bool refresh =
        message != nullptr && message->msg_id == UPLINKD_MSG_ID_WAN_WIRELESS_MODE_REFRESH;
    const text<4> wan_mode = setting_text<4>(USR_WAN_MODE);
    const text<4> current_24g = item_text<4>(DI_IFA_WLAN24_LINK_STATUS);
    const text<4> current_58g = item_text<4>(DI_IFA_WLAN58_LINK_STATUS);

    UPLINKD_DEBUG("wan_mode_current ->%s\n", wan_mode.c_str());
    UPLINKD_DEBUG("wlan_link_status_24g_current ->%s, wlan_link_status_24g_buff ->%s\n",
                  current_24g.c_str(), uplinkd_wlan_link_status_24g_buff.c_str());
    UPLINKD_DEBUG("wlan_link_status_58g_current ->%s, wlan_link_status_58g_buff ->%s\n",
                  current_58g.c_str(), uplinkd_wlan_link_status_58g_buff.c_str());

    evaluate(BAND_24G, current_24g, to_int(wan_mode.c_str()), refresh);
    evaluate(BAND_58G, current_58g, to_int(wan_mode.c_str()), refresh);
    return 0;
}
