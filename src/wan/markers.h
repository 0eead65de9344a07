// The files whose mere presence the daemon's way depends on.
#pragma once

// Made by the configuration daemon at the end of its start-up, for which the daemon waits.
#define SETTINGSD_MARKER "/tmp/.flag_settingsd_init_finished"

// The router's external WAN mode script: where it is, it provisions the interfaces.
#define WAN_MODE_SCRIPT "/etc/ebscript/wan_mode_setting.sh"
