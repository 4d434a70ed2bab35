#pragma once

#include "tests/counts/operations.h"

#include <vector>

namespace failing_calls {

// The operations of counts, and some of them again where they make calls that they usually do not.
std::vector<counts::operation> all_operations();

} // namespace failing_calls
