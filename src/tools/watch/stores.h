// The settings, items and flags that the daemon knows, as they were when they were last read; what
// has changed since is said as events.
#pragma once

#include "arbitration/arbitration.h"

namespace stores {

// Reads everything: what differs from before, at first all of it, is new.
void read_all();

// Read one anew: the file NAME has been written. Where two events come for one value only, the one
// in between was never seen. CATCHING_UP: events may be older than what was read before.
void item_changed(const char *name, bool catching_up);
void flag_changed(const char *name);
void settings_changed();

// What the arbitration makes of these items and settings now.
void decide();

} // namespace stores
