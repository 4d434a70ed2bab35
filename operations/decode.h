#pragma once

#include "operations/record.h"
#include "operations/rows.h"

#include <nlohmann/json.hpp>
#include <span>
#include <string>

namespace operations {

using json = nlohmann::ordered_json;

// The name of a code; "code N" for one without a row.
std::string code_name(const code_row* row, uint32_t code);

// The named fields of a record that has come that far; of a request none without a row.
json decode_request(const code_row* row, const record& request);
json decode_fields(std::span<const field> fields, const record& bytes);

} // namespace operations
