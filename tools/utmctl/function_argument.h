#pragma once

#include "operations/function.h"
#include "tools/utmctl/command.h"

// The functions of the library as arguments of commands, and as what commands use.

std::string check_function(const std::string& text);

// The function of a text that passed its check.
const operations::function_row& function_of(const std::string& text);
