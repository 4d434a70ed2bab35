#pragma once

#include "tools/utmctl/overdue.h"

#include "kqutm.hpp"

#include <functional>
#include <string>
#include <type_traits>

// Calls of the library in a process of its own: they cannot hang the command, and what they print does not mix with its
// results. A worker that is killed at the deadline gives its locks back.

struct call_result {
    kqutm::result<json> result;
    std::string printed; // what the call printed on standard output or standard error
};

// A result as it travels: its value as JSON, null for an operation that has none.
template <class Value> kqutm::result<json> as_json(const kqutm::result<Value>& result)
{
    return result.transform([](const Value& value) -> json {
        if constexpr (std::is_same_v<Value, kqutm::done>)
            return nullptr;
        else
            return value;
    });
}

// What a function of the C interface returned whose only success is 0.
kqutm::result<kqutm::done> done_if_zero(int32_t returned);

// A result with errno as its value, where an operation that has done nothing returns 0 too, and errno alone tells why.
kqutm::result<json> with_errno(const kqutm::result<kqutm::done>& result);

// What the calls of all workers so far have printed.
const std::string& printed_so_far();

// Runs body in a worker and returns what it handed back, a value or a cause. Throws a failure, which starts with what,
// when the body has not returned after so many seconds, or when the worker dies. The value may hold binary values.
call_result call_in_worker(const std::string& what, double seconds, const std::function<kqutm::result<json>()>& body,
                           const awaited& whom = {});
