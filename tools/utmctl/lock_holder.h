#pragma once

#include "tools/utmctl/outcome.h"

// Who kept a call from ending in time, as far as it can be known. within reads like "within 60 s".
culprit overdue_culprit(const std::string& within);
