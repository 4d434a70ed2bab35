#pragma once

#include "operations/function.h"
#include "tools/utmctl/command.h"

// The functions of the library as arguments of commands, and as what commands use.

std::string check_function(const std::string& text);

// Refuses the words of a command that stand where a function should, if they do.
void refuse_command_as_function(const std::vector<std::string>& arguments, const request& asked);

// The function of a text that passed its check.
const operations::function_row& function_of(const std::string& text);
