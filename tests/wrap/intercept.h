#pragma once

#include "tests/wrap/wrap.h"

#include <algorithm>
#include <cerrno>
#include <string>

namespace wrap {

// The plan of the calling thread, or null.
plan* current_plan();

inline std::string text_of(const char* text)
{
    return text;
}

template <class Number> std::string text_of(Number number)
{
    return std::to_string(number);
}

template <class... Values> std::string list_of(const Values&... values)
{
    std::string list;
    ((list += text_of(values) + ", "), ...);
    return list.substr(0, list.size() - std::min<size_t>(list.size(), 2));
}

// Makes a call, or what the thread's plan has instead. shown are the arguments that a plan notes.
template <class Call, class Result, class... Shown>
Result intercept(const char* function, Result failure, Call call, const Shown&... shown)
{
    plan* plan = current_plan();
    const plan::outcome* instead = plan != nullptr ? plan->note(function, list_of(shown...)) : nullptr;
    if (instead == nullptr)
        return call();
    if (instead->fails) {
        errno = instead->error;
        return failure;
    }
    return (Result)instead->result; // a number or an address
}

// The same for a call that releases: it does so even where it fails.
template <class Call, class Result> Result intercept_release(const char* function, Result failure, Call call)
{
    const Result released = call();
    return intercept(function, failure, [=] { return released; });
}

} // namespace wrap
