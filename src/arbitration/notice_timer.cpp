// In a mix mode that prefers the WAN, a fall-back to the mobile network is announced to the user,
// but only if it lasts: a countdown of minutes runs first, and what it finds at its end decides.
//
// Threads: who runs a handler arms; one detached thread at a time counts down, checks and sends.
// uplinkd_notice_mutex covers the countdown and the sign that such a thread runs; it is never held
// across a sleep, a store or a send. The timer learns the arbitration's outcome from its item.
// An arming that meets the running thread, in whichever state, only sets the full countdown; the
// thread looks once more before it ends, so that no arming is lost.

#include "arbitration/notice_timer.h"

#include <unistd.h>

#include "base/log_forms.h"
#include "base/messages.h"
#include "base/outgoing.h"
#include "base/text.h"
#include "platform/config_store.h"
#include "wan/items.h"
#include "wan/modes.h"
#include "wan/setting_keys.h"
#include "wan/setting_ranges.h"

uplinkd_mutex uplinkd_notice_mutex;
int uplinkd_notice_countdown = 0;
static bool thread_running UPLINKD_GUARDED_BY(uplinkd_notice_mutex) = false;

static constexpr int DEFAULT_DELAY_MINUTES = 5;
static constexpr int SECONDS_PER_MINUTE = 60;

static int delay_seconds() {
    int minutes = get_CFG_int(USR_FLOW_SMS_NOTICE_DELAY);
    if (!NOTICE_MINUTES.holds(minutes))
        minutes = DEFAULT_DELAY_MINUTES;
    return minutes * SECONDS_PER_MINUTE;
}

void uplinkd_notice_timer_arm() {
    const int delay = delay_seconds();
    const mutex_guard guard(uplinkd_notice_mutex);
    uplinkd_notice_countdown = delay;
    if (thread_running) {
        UPLINKD_DEBUG("Extended the timer count for mobile priority in mix WAN mode...");
        return;
    }
    pthread_t thread;
    if (pthread_create(&thread, nullptr, timer4uis_inform, nullptr) != 0) {
        uplinkd_notice_countdown = 0;
        UPLINKD_DEBUG("pthread_create() error");
        return;
    }
    thread_running = true;
    UPLINKD_DEBUG("turn the timer on for mobile priority in mix WAN mode...");
}

// Takes one second off the countdown; returns what is left.
static int count_one_second() {
    const mutex_guard guard(uplinkd_notice_mutex);
    uplinkd_notice_countdown = uplinkd_notice_countdown > 0 ? uplinkd_notice_countdown - 1 : 0;
    return uplinkd_notice_countdown;
}

static void restart_countdown(int seconds) {
    const mutex_guard guard(uplinkd_notice_mutex);
    uplinkd_notice_countdown = seconds;
}

// Gives up the thread's place; false if the timer was armed since the countdown ran out.
static bool end_unless_armed() {
    const mutex_guard guard(uplinkd_notice_mutex);
    if (uplinkd_notice_countdown > 0)
        return false;
    thread_running = false;
    return true;
}

void *timer4uis_inform(void *) {
    pthread_detach(pthread_self());
    bool mobile_unseen = true;
    for (;;) {
        do
            sleep(1);
        while (count_one_second() > 0);

        if (is_one(item_text<4>(DI_IFA_MOBILE_NETSTATUS)))
            mobile_unseen = false;
        const int priority = to_int(item_text<4>(DI_IFA_WAN_PRIORITY).c_str());
        const int wan_mode = get_CFG_int(USR_WAN_MODE);
        const int strategy = get_CFG_int(USR_WAN_COMMUNICATION_PRIORITY_STRATEGY);
        const int delay = delay_seconds();

        bool finished = true;
        if (!is_mix_mode(wan_mode)) {
            UPLINKD_DEBUG("there was already in mode (%d),  no need to send the mentions text...",
                          wan_mode);
        } else if (priority != NETWORK_PRIORITY_MOBILE || strategy != PRIORITY_STRATEGY_WAN_FIRST) {
            UPLINKD_DEBUG(
                "there was no need send message cause priority turn to (%d) and cfg_priority "
                "is (%d)...",
                priority, strategy);
            finished = !mobile_unseen;
        } else if (mobile_unseen) {
            UPLINKD_DEBUG(
                "mobile network unavaliable in mix mode but WAN priority is(%d), wait (%d) "
                "sec check it again...",
                priority, delay);
            restart_countdown(delay);
            finished = false;
        } else {
            uplinkd_send_msg(APP_ID_TEXTMSG, TEXTMSG_MSG_ID_MIX_MODE_NOTICE, nullptr, 0);
            for (const log_form form : BOTH_FORMS)
                UPLINKD_LOG(form, "send the text message in mix mode for priority(%d)...",
                            priority);
            uplinkd_send_msg(APP_ID_UIS, UIS_MSG_ID_MIX_MODE_CALL, nullptr, 0);
            UPLINKD_DEBUG("send the uis call message in mix mode for priority(%d)...", priority);
            UPLINKD_TRACE(LOG_EVENT, "send the uis call in mix mode for priority(%d)...", priority);
        }

        if (finished) {
            if (end_unless_armed())
                return nullptr;
            mobile_unseen = true;
        }
    }
}
