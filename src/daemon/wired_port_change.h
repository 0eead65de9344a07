// The link of the WAN Ethernet port: brings the wired WAN up or takes it down.
#pragma once

// Returns 0.
int wan_wired_status_change_handler();
