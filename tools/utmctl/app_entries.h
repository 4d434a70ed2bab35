#pragma once

#include "kqutm.hpp"

#include "tools/utmctl/hex.h"
#include "tools/utmctl/text_list.h"

// The application entries of a policy, which only the application daemon understands.

inline constexpr argument app_entries = {"ENTRY", occurs::any_number, check_hex<UTM_APP_ENTRY_SIZE, UTM_APP_ENTRY_SIZE>,
                                         "entries of 8 bytes, each as 16 hexadecimal digits"};

outcome set_entries(const request& asked);
outcome add_entries(const request& asked);
outcome clear_entries(const request& asked);
