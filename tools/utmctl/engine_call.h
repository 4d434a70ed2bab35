#pragma once

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/command.h"
#include "tools/utmctl/number.h"

// Operations of the engines as the call of a deed, by the arguments that they take.

template <auto operation> int32_t call(const request&)
{
    return operation();
}

template <auto operation> int32_t call_with_state(const request& asked)
{
    return operation(is_on(asked.one("STATE")));
}

template <auto operation> int32_t call_with_mode(const request& asked)
{
    return operation(whole_of<uint32_t>(asked.one("MODE")));
}

template <auto operation> int32_t call_with_path(const request& asked)
{
    return operation(asked.one("PATH").c_str());
}

// The daemon's own number comes back.
constexpr bool tells_answer = true;

inline constexpr argument state[] = {
    {"STATE", occurs::once, check_state, "on or off"},
};
inline constexpr argument flush_mode[] = {
    {"MODE", occurs::once, check_whole<0, 2>, "0, 1 or 2; the daemon defines what each flushes"},
};
