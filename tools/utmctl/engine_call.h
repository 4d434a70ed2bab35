#pragma once

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/command.h"
#include "tools/utmctl/file_path.h"
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

// Where taken are the arguments of the command.
template <auto operation, const auto& taken> int32_t call_with_number(const request& asked)
{
    return operation(whole_of<uint32_t>(asked.one(taken[0].name)));
}

template <auto operation, const auto& taken> int32_t call_with_text_and_number(const request& asked)
{
    return operation(asked.one(taken[0].name).c_str(), whole_of<uint32_t>(asked.one(taken[1].name)));
}

template <auto operation> int32_t call_with_path(const request& asked)
{
    return operation(path_of(asked.one("PATH")).c_str());
}

// The daemon's own number comes back.
constexpr bool tells_answer = true;

inline constexpr argument state[] = {
    {"STATE", occurs::once, check_state, "on or off"},
};
inline constexpr argument flush_mode[] = {
    {"MODE", occurs::once, check_whole<0, 2>, "0, 1 or 2; the daemon defines what each flushes"},
};
