// The sub-commands of uplinkctl config, as in tools/uplinkctl.h.
#pragma once

#include "tools/uplinkctl.h"

int config_get(operands given);
int config_set(operands given);
int config_unset(operands given);
int config_list(operands given);

// Prints a line for each setting that is out of range or looks like a misspelt one; fails if there
// are any.
int config_check(operands given);
