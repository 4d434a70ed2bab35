#pragma once

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/command.h"
#include "tools/utmctl/engine_deed.h"
#include "tools/utmctl/file_path.h"
#include "tools/utmctl/number.h"

// Operations of the engines as the call of a deed, by the arguments that they take.

// Most operations succeed with 0 alone.
inline kqutm::result<int32_t> number_in(const kqutm::result<kqutm::done>& result)
{
    return result.transform([](kqutm::done) { return int32_t{0}; });
}
inline kqutm::result<int32_t> number_in(const kqutm::result<int32_t>& result)
{
    return result;
}

template <auto operation> kqutm::result<int32_t> call(const request&)
{
    return number_in(operation());
}

template <auto operation> kqutm::result<int32_t> call_with_state(const request& asked)
{
    return number_in(operation(is_on(asked.one("STATE"))));
}

// Where taken are the arguments of the command.
template <auto operation, const auto& taken> kqutm::result<int32_t> call_with_number(const request& asked)
{
    return number_in(operation(whole_of<uint32_t>(asked.one(taken[0].name))));
}

template <auto operation, const auto& taken> kqutm::result<int32_t> call_with_text_and_number(const request& asked)
{
    return number_in(operation(asked.one(taken[0].name), whole_of<uint32_t>(asked.one(taken[1].name))));
}

template <auto operation> kqutm::result<int32_t> call_with_path(const request& asked)
{
    return number_in(operation(path_of(asked.one("PATH"))));
}

inline constexpr argument state[] = {
    {"STATE", occurs::once, check_state, "on or off"},
};
inline constexpr argument flush_mode[] = {
    {"MODE", occurs::once, check_whole<0, 2>, "0, 1 or 2; the daemon defines what each flushes"},
};
