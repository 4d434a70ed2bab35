#pragma once

#include "tests/sandbox/config_daemons.h"
#include "tests/utmctl/engines.h"

#include <map>
#include <sys/stat.h>

// The gateway's seven daemons, which answer whatever they are asked.

inline const std::vector<std::string> daemon_paths = {cf_path, app_path, user_profile_path, ips.path, devid.path,
                                                      av.path, ir.path};

class seven_daemons {
public:
    // All but those at the paths left out. The scripts given stand in for the usual ones.
    explicit seven_daemons(const std::vector<std::string>& left_out = {},
                           const std::map<std::string, sim::script>& own = {})
    {
        for (const char* path : {cf_path, app_path, user_profile_path})
            start(path, SOCK_STREAM, answer(0), left_out, own);
        for (const engine& one : {ips, devid, av, ir})
            start(one.path, one.type, answer_with(reply_of(one, 0)), left_out, own);
    }

private:
    void start(const std::string& path, int type, const sim::script& usual, const std::vector<std::string>& left_out,
               const std::map<std::string, sim::script>& own)
    {
        if (std::find(left_out.begin(), left_out.end(), path) != left_out.end())
            return;
        const auto given = own.find(path);
        daemons_.push_back(
            std::make_unique<sim::scripted_daemon>(path, given == own.end() ? usual : given->second, nullptr, type));
        chmod(path.c_str(), 0777);
    }

    std::vector<std::unique_ptr<sim::scripted_daemon>> daemons_;
};
