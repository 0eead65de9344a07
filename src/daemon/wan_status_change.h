// A status change of an uplink: arbitrate, and tell the others when the priority has moved.
#pragma once

// Returns 0.
int wan_status_change_handler();
