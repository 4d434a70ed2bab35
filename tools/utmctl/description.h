#pragma once

#include "operations/function.h"
#include "tools/utmctl/outcome.h"

// All that is known of a function of the library.

json description_of(const char* family, const operations::function_row& function);
std::vector<std::string> description_lines(const json& description);

// The records that it exchanges with daemons, field by field.
table layout_of(const json& description);
