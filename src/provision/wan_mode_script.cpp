#include "provision/wan_mode_script.h"

#include <cstdlib>
#include <unistd.h>

#include "wan/markers.h"

int uplinkd_is_wan_mode_script_present() {
    return access(WAN_MODE_SCRIPT, F_OK) == 0 ? 1 : 0;
}

static void run(const char *command) {
    if (system(command) == -1)
        return; // no process could be made; like any failure of the script, it has no consequence
}

void run_wan_mode_script_set() {
    run(WAN_MODE_SCRIPT " set");
}
void run_wan_mode_script_reset() {
    run(WAN_MODE_SCRIPT " reset");
}
