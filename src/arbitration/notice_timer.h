// The delayed notice that the mobile network has taken over in a mix mode.
#pragma once

#include "platform/mutex.h"

// Guards the countdown and whether a thread counts it down, and nothing else.
extern uplinkd_mutex uplinkd_notice_mutex;
// Seconds until the next check. 0 when no countdown runs: there is no thread, or one that has not
// seen the mobile network and checks every second.
extern int uplinkd_notice_countdown UPLINKD_GUARDED_BY(uplinkd_notice_mutex);

// Starts the countdown, or extends the one that runs. Called by the WAN status change when a mix
// mode that prefers the WAN has fallen back to the mobile network.
void uplinkd_notice_timer_arm();

// The thread that counts down, checks and sends the notice. ARGUMENT is ignored; returns null.
void *timer4uis_inform(void *argument);
