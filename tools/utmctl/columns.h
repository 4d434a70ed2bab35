#pragma once

#include "tools/utmctl/outcome.h"

// The choice of columns of --columns.

// The headings in a text like "ID, mac", in capitals.
std::vector<std::string> headings_in(const std::string& text);
std::string check_headings(const std::string& text);

// The table with the columns of these headings alone, in their order. Refuses a heading that it does not have.
table with_columns(const table& all, const std::vector<std::string>& headings);
