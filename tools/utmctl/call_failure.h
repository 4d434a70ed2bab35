#pragma once

#include "operations/function.h"
#include "tools/utmctl/outcome.h"

// How a call of a function of the library failed, by what it returned and errno.

// A value that a function handed back, for people.
std::string shown(const json& value);

// "EINVAL"
std::string errno_name(int error);

// None of a call that has succeeded.
std::optional<problem> failure_of(const operations::function_row& function, const json& returned, int error);
