// Runs on the main thread. The bus delivers messages from the moment of registration, also while
// the waits last; only the first evaluation of the WAN mode shares the handlers' mutex.

#include "daemon/startup.h"

#include <unistd.h>

#include "base/log_forms.h"
#include "base/messages.h"
#include "base/text.h"
#include "daemon/dispatch.h"
#include "daemon/handler_mutex.h"
#include "daemon/wan_mode_change.h"
#include "platform/flag_store.h"
#include "wan/flags.h"
#include "wan/markers.h"

static constexpr unsigned POLL_SECONDS = 3;

static void wait_settingsd_init_finished() {
    while (access(SETTINGSD_MARKER, F_OK) != 0)
        sleep(POLL_SECONDS);
}

int uplinkd_init() {
    init_log_params("UPLINKD");
    UPLINKD_TRACE(LOG_EVENT, "uplinkd_init start!");

    if (init_sockmsg(APP_ID_UPLINKD, uplinkd_handler_msg, 0) != 0)
        UPLINKD_TRACE(LOG_EVENT, "init_sockmsg() error");
    else
        UPLINKD_TRACE(LOG_EVENT, "init_sockmsg successfully");

    wait_settingsd_init_finished();
    uplinkd_wait_downlinkd_init_completed();
    {
        const mutex_guard one_handler_at_a_time(uplinkd_handler_mutex);
        wan_mode_change_handler();
        flag_set(SUBNET_CONFLICT_FLAG, "0");
    }
    UPLINKD_TRACE(LOG_EVENT, "uplinkd_init finish!");
    return 0;
}

void uplinkd_wait_downlinkd_init_completed() {
    text<2> completed;
    do {
        sleep(POLL_SECONDS);
        flag_get_item(DOWNLINKD_FLAG, completed.data(), completed.size());
    } while (!is_one(completed));
}
