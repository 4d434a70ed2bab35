#pragma once

#include "sim/record.h"
#include "sim/strict_json.h"

#include <string>

namespace sim {

// The name of a daemon's code; "code N" for one without a row.
std::string code_name(const std::string& daemon, uint32_t code);

// The named fields of a request, by the code's row.
json decode_fields(const std::string& daemon, uint32_t code, const record& request);

} // namespace sim
