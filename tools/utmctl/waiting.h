#pragma once

#include "tools/utmctl/command.h"

// Waits until the daemons can be reached that the command is going to talk to, for as long as --wait allows. Throws a
// failure when one of them cannot be reached by then.
void wait_for_daemons(const request& asked);
