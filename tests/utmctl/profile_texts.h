#pragma once

#include <string>

// What utmctl says in more than one place.

constexpr char cf_missing[] =
    "the content-filter daemon (/dev/utm_cf_config_socket) cannot be reached: No such file or directory";
constexpr char app_missing[] =
    "the application daemon (/dev/utm_app_config_socket) cannot be reached: No such file or directory";
constexpr char user_profile_missing[] =
    "the user-profile daemon (/dev/utm_user_profile_socket) cannot be reached: No such file or directory";

inline std::string clean_up(int id)
{
    const std::string number = std::to_string(id);
    return "clear what is left with 'utmctl registry reserve profile " + number + "' and 'utmctl profile delete " +
           number + "'\n";
}
