// The router's external WAN mode script. Where it exists, it provisions the interfaces, and the
// daemon only records their state.
#pragma once

// 1 if the script exists at this moment, else 0.
int uplinkd_is_wan_mode_script_present();

// Run the script with its one argument, through the shell; its exit status is not examined.
void run_wan_mode_script_set();
void run_wan_mode_script_reset();
