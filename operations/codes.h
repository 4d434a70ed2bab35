#pragma once

#include "operations/rows.h"

// The codes that each daemon knows, one file each.
namespace operations {

std::span<const code_row> cf_codes();
std::span<const code_row> app_codes();
std::span<const code_row> user_profile_codes();
std::span<const code_row> ips_codes();
std::span<const code_row> devid_codes();
std::span<const code_row> av_codes();
std::span<const code_row> ir_codes();

} // namespace operations
