#pragma once

#include "tools/utmctl/outcome.h"

// JSON as text. A byte that is no UTF-8, as a daemon or another program may have sent it, becomes U+FFFD.
std::string json_text(const json& value, int indent = -1);

// A text as it may be shown, and anything else as JSON in one line.
std::string shown_text(const json& value);
