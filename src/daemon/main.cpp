// uplinkd: decides which uplink of the router has priority, brings WAN interfaces up and down, and
// guards the LAN's networks against the WAN's.
//
// Threads: this one starts up and then only keeps the log level fresh; the bus delivers messages,
// and with them runs every handler, on a thread of its own; the notice timer starts a third when
// it is armed. The process runs in the foreground until it is killed.

#include <unistd.h>

#include "base/log_forms.h"
#include "daemon/startup.h"

static constexpr unsigned IDLE_PERIOD_SECONDS = 5;

int main(int argc, char **argv) {
    for (int option; (option = getopt(argc, argv, "-D")) != -1;) { // `-`: wherever it stands
        if (option == 'D')
            uplinkd_debug_mode = 1;
    }
    uplinkd_init();
    for (;;) {
        sleep(IDLE_PERIOD_SECONDS);
        reset_libcommlog_level();
    }
}
