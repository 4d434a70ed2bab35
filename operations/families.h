#pragma once

#include "operations/function.h"

// The functions of each family, one file each.
namespace operations {

std::span<const function_row> profile_functions();
std::span<const function_row> cf_functions();
std::span<const function_row> app_functions();
std::span<const function_row> ips_functions();
std::span<const function_row> devid_functions();
std::span<const function_row> av_functions();
std::span<const function_row> ir_functions();
std::span<const function_row> registry_functions();
std::span<const function_row> common_functions();
std::span<const function_row> daemon_functions();

} // namespace operations
