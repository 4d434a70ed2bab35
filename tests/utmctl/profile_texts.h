#pragma once

#include <string>

// What utmctl says in more than one place.

constexpr char cf_missing[] =
    "the content-filter daemon (/dev/utm_cf_config_socket) cannot be reached: No such file or directory";
constexpr char app_missing[] =
    "the application daemon (/dev/utm_app_config_socket) cannot be reached: No such file or directory";
constexpr char user_profile_missing[] =
    "the user-profile daemon (/dev/utm_user_profile_socket) cannot be reached: No such file or directory";

inline std::string clean_up(int id, const std::string& note = "")
{
    const std::string number = std::to_string(id);
    return "clear what is left with 'utmctl registry reserve profile " + number + "' and 'utmctl profile delete " +
           number + "'" + note + "\n";
}

// Of a deletion that a daemon refused.
inline std::string clean_up_again(int id)
{
    return clean_up(id, "; a daemon that never had it refuses again");
}
