#pragma once

#include "operations/function.h"
#include "tools/utmctl/outcome.h"
#include "tools/utmctl/registry_view.h"

// How a call of a function of the library failed, by what it returned and errno.

// A value that a function handed back, for people.
std::string shown(const json& value);

// "EINVAL"
std::string errno_name(int error);

// A call, and the registry before it.
struct called {
    const operations::function_row& function;
    const std::vector<std::string>& given;
    const utm_id_registry before;
};

// None of a call that has succeeded.
std::optional<problem> failure_of(const called& call, const json& returned, int error);
