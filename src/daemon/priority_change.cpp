#include "daemon/priority_change.h"

#include "base/log_forms.h"
#include "daemon/wired_port_change.h"
#include "platform/config_store.h"
#include "platform/devinfo_store.h"
#include "wan/items.h"
#include "wan/modes.h"
#include "wan/setting_keys.h"

int uplinkd_priority_change_handler(const uplinkd_msg_t *message) {
    if (message == nullptr)
        return -1;
    const int wan_mode = get_CFG_int(USR_WAN_MODE);
    if (wan_mode != WAN_MODE_BRIDGE_MIX) {
        UPLINKD_TRACE(LOG_EVENT, "wan_mode(%d) is not bridge mix mode ,do nothing", wan_mode);
        return 0;
    }
    // The status now contradicts a port that has link, so the port handler will not skip it.
    set_devinfo_value_by_id(DI_IFA_WIRED_WAN_NETSTATUS, "0", 2);
    return wan_wired_status_change_handler();
}
