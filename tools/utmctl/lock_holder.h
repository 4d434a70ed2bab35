#pragma once

#include "tools/utmctl/outcome.h"

// Tells of a call that has not ended in time, and who kept it, as far as that can be known. What did not happen reads
// like "profile 7 was not deleted", within like "within 60 s".
problem overdue_call(const std::string& what, const std::string& within);
