#pragma once

#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/id_tables.h"
#include "tests/wrap/wrap.h"

#include <algorithm>
#include <map>

// What the tests of the profile operations have in common.

using paths = std::vector<std::string>;

inline const paths create_order = {cf_path, user_profile_path, app_path};
inline const paths change_order = {cf_path, app_path, user_profile_path};

inline std::string refused(int status)
{
    return "[send_utm_config_event]error code = " + std::to_string(status) + "\n";
}

// What the library logs of a daemon that is not there.
inline std::string unreachable()
{
    std::string log;
    for (int attempt = 0; attempt < 22; attempt++)
        log += "[send_utm_config_event]connect fail: No such file or directory\n";
    return log;
}

// What the library logs of a daemon that does not answer in time.
inline constexpr char unanswered[] = "[send_utm_config_event]select() timeout\n";

inline bool is_registered(uint32_t id)
{
    const slots all = all_slots();
    return std::find(all.begin(), all.begin() + 256, id) != all.begin() + 256;
}

// A plan under which no test waits for an absent daemon.
class impatient : public wrap::plan {
public:
    impatient() { answer("usleep", wrap::every, 0); }
};

// A plan under which the nth request gets no answer in time; with wrap::every none does.
class unheard : public wrap::plan {
public:
    explicit unheard(int nth = 1) { answer("select", nth, 0); }
};
