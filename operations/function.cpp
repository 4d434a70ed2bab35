#include "operations/function.h"

#include "operations/families.h"

#include <algorithm>
#include <cerrno>

namespace operations {

std::span<const function_family> function_families()
{
    static constexpr function_family families[] = {
        {"profile", "user profiles, their devices, bindings, usage and limits", profile_functions},
        {"cf", "the content filter", cf_functions},
        {"app", "application control", app_functions},
        {"ips", "the intrusion-prevention engine", ips_functions},
        {"devid", "the device-identification engine", devid_functions},
        {"av", "the anti-virus engine", av_functions},
        {"ir", "the IR threat database", ir_functions},
        {"registry", "the ID registry", registry_functions},
        {"common", "diagnostic log, device UUID, debug switch and command helper", common_functions},
        {"daemon", "the wire, for daemons and tools", daemon_functions},
    };
    return families;
}

const function_row* find_function(std::string_view name)
{
    for (const function_family& family : function_families()) {
        for (const function_row& one : family.functions()) {
            if (one.name() == name)
                return &one;
        }
    }
    return nullptr;
}

const function_family& family_of(const function_row& function)
{
    return *std::ranges::find_if(function_families(), [&](const function_family& family) {
        return std::ranges::any_of(family.functions(), [&](const function_row& one) { return &one == &function; });
    });
}

bool destroys(const function_row& function, words given)
{
    return function.destroys != nullptr && (function.destroys_with == nullptr || function.destroys_with(given));
}

bool has_failed(const function_row& function, const json& returned, int error)
{
    switch (function.result.when) {
    case fails::never:
        return false;
    case fails::not_zero:
        return returned != 0;
    case fails::minus_one:
        return returned == -1 && error != 0;
    case fails::negative:
        return returned < 0;
    case fails::null:
        return returned.is_null() && error != 0;
    case fails::zero:
        return returned == 0 && error != 0;
    }
    return false;
}

bool is_cut(const function_row& function, const json& returned, int error)
{
    constexpr int causes[] = {ETIMEDOUT, ENODATA, EPROTO, EINTR, ECONNRESET, ENOMEM};
    return function.result.may_be_cut && returned.is_array() && std::ranges::count(causes, error) > 0;
}

} // namespace operations
