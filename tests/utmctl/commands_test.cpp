#include "sim/gateway.h"
#include "tests/sandbox/files.h"
#include "tests/utmctl/run.h"

#include <cstring>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>

// All commands, each in one way that works: what holds for every one of them.

namespace {

using json = nlohmann::json;

enum class does {
    read,
    tell, // the same each time, or what it waited for
    change
};

struct sample {
    std::string command;
    std::string arguments;
    does what;

    std::string line() const { return command + " " + arguments; }
};

// In an order in which each succeeds on a gateway that has just been started.
const std::vector<sample> samples = {
    {"version", "", does::tell},
    {"help", "profile create", does::tell},
    {"registry init", "", does::change},
    {"profile create", "7", does::change},
    {"profile add-device", "7 02:42:ac:11:00:05", does::change},
    {"profile del-device", "7 02:42:ac:11:00:05", does::change},
    {"cf create-policy", "70", does::change},
    {"app create-policy", "80", does::change},
    {"profile bind-cf", "7 70", does::change},
    {"profile bind-app", "7 80", does::change},
    {"profile list", "", does::read},
    {"profile mapping", "", does::read},
    {"profile set-daily-limit-enable", "7 on", does::change},
    {"profile get-daily-limit-enable", "7", does::read},
    {"profile set-daily-limit", "7 120", does::change},
    {"profile get-daily-limit", "7", does::read},
    {"profile set-weekday-limit", "7 6 180", does::change},
    {"profile get-weekday-limits", "7", does::read},
    {"profile set-extension", "7 30", does::change},
    {"profile get-extension", "7", does::read},
    {"profile reset-extension", "7", does::change},
    {"profile usage", "7", does::read},
    {"profile app-usage", "7", does::read},
    {"profile app-usage-days", "7", does::read},
    {"profile domains", "7", does::read},
    {"cf set-block", "70 -f /tmp/block", does::change},
    {"cf add-trusted-url", "http://good.example/", does::change},
    {"cf del-trusted-url", "http://good.example/", does::change},
    {"cf add-forbidden-url", "http://bad.example/", does::change},
    {"cf del-forbidden-url", "http://bad.example/", does::change},
    {"cf add-trusted-domain", "70 good.example", does::change},
    {"cf del-trusted-domain", "70 good.example", does::change},
    {"cf add-forbidden-domain", "70 bad.example", does::change},
    {"cf del-forbidden-domain", "70 bad.example", does::change},
    {"cf add-keyword", "70 casino", does::change},
    {"cf del-keyword", "70 casino", does::change},
    {"cf safe-browsing", "on", does::change},
    {"cf web-category", "on", does::change},
    {"cf activate", "", does::change},
    {"cf switch-kernel", "on", does::change},
    {"cf status", "", does::read},
    {"cf redirect-page", "http://gateway/blocked", does::change},
    {"cf dump", "/tmp/dump", does::change},
    {"cf dump-kernel", "/tmp/kernel", does::change},
    {"cf debug", "3", does::change},
    {"cf flush-policy", "4 70 --yes", does::change},
    {"cf flush", "0 --yes", does::change},
    {"app set-entries", "80 0000000000000001", does::change},
    {"app add-entries", "80 0000000000000002", does::change},
    {"app clear-entries", "80 --yes", does::change},
    {"app activate", "on", does::change},
    {"app status", "", does::read},
    {"app debug", "2", does::change},
    {"app dump", "/tmp/dump", does::change},
    {"app update-signature", "/tmp/signature", does::change},
    {"app export-statistics", "/tmp/statistics", does::change},
    {"app import-statistics", "/tmp/statistics", does::change},
    {"app set-export-interval", "60", does::change},
    {"app get-export-interval", "", does::read},
    {"ips switch", "on", does::change},
    {"ips status", "", does::read},
    {"ips set-whitelist", "1000027 0", does::change},
    {"ips set-blacklist", "1000028 0", does::change},
    {"ips rules", "", does::read},
    {"ips update-signature", "/tmp/signature", does::change},
    {"ips debug", "on", does::change},
    {"ips flush", "0 --yes", does::change},
    {"ips reset", "--yes", does::change},
    {"devid switch", "on", does::change},
    {"devid status", "", does::read},
    {"devid devices", "--mac 02:42:ac:11:00:05", does::read},
    {"devid cache-size", "10", does::change},
    {"devid timestamp", "", does::read},
    {"devid debug", "on", does::change},
    {"devid show-kernel-list", "", does::change},
    {"devid ignore", "eth1 0", does::change},
    {"devid flush", "--yes", does::change},
    {"devid reset", "--yes", does::change},
    {"av switch", "on", does::change},
    {"av status", "", does::read},
    {"av cache-size", "10", does::change},
    {"av cache", "", does::read},
    {"av set-whitelist", "good 0", does::change},
    {"av whitelist", "", does::read},
    {"av debug", "on", does::change},
    {"av flush", "--yes", does::change},
    {"av reset", "--yes", does::change},
    {"ir switch", "on", does::change},
    {"ir version", "", does::read},
    {"ir update-frequency", "1", does::change},
    {"ir max-size", "10", does::change},
    {"ir threat-category", "1", does::change},
    {"ir set-whitelist", "1 2 0", does::change},
    {"ir set-blacklist", "1 2 0", does::change},
    {"ir whitelist", "", does::read},
    {"ir blacklist", "", does::read},
    {"ir load", "/tmp/signature", does::change},
    {"ir debug", "on", does::change},
    {"ir flush", "0 --yes", does::change},
    {"ir reset", "--yes", does::change},
    {"uuid set", "123e4567", does::change},
    {"uuid get", "", does::read},
    {"uuid clear", "--yes", does::change},
    {"sys debug-events", "on", does::change},
    {"sys run", "'echo seven' --yes", does::change},
    {"doctor", "", does::read},
    {"call", "utm_ips_activate 1", does::change},
    {"describe", "utm_ips_activate", does::tell},
    {"status", "", does::read},
    {"wait", "cf ips", does::tell},
    {"explain", "'user profile id(7) not found'", does::tell},
    {"complete", "profile del", does::tell},
    {"log", "--lines 1", does::read},
    {"batch", "-f /tmp/batch", does::change},
    {"watch", "registry lock-status --count 1", does::change},
    {"registry show", "", does::read},
    {"registry audit", "", does::read},
    {"registry lock-status", "", does::read},
    {"registry check", "profile 7", does::read},
    {"registry reserve", "profile 8", does::change},
    {"registry release", "profile 8", does::change},
    {"profile delete", "7", does::change},
    {"profile flush", "--yes", does::change},
    {"registry clear", "--yes", does::change},
    {"reset", "--yes", does::change},
};

void write_files()
{
    write_file("/tmp/block", std::string(256, '0') + "\n");
    write_file("/tmp/signature", "signature");
    write_file("/tmp/batch", "registry lock-status\n");
}

// What it prints with -j, after a look at what holds for whatever it came to.
json told(const std::string& line)
{
    const run_result result = utmctl("-j " + line);
    const json value = json::parse(result.out, nullptr, false);
    EXPECT_FALSE(value.is_discarded()) << line << "\n" << result;
    if (value.is_discarded())
        return {};
    EXPECT_EQ(value.value("exit", -1), result.status) << line << "\n" << result;
    const bool failed = result.status != 0 && result.status != 10 && result.status != 11; // these tell what was found
    EXPECT_EQ(value.value("errors", json()).empty(), !failed) << line << "\n" << result;
    EXPECT_TRUE(result.out.ends_with("}\n")) << line;
    return value;
}

json command_table()
{
    return told("help").at("result").at("commands");
}

std::set<std::string> all_commands()
{
    std::set<std::string> commands;
    const json all = command_table();
    for (const json& one : all)
        commands.insert(one.at("command"));
    return commands;
}

TEST(commands, each_has_a_sample)
{
    std::set<std::string> sampled;
    for (const sample& one : samples)
        EXPECT_TRUE(sampled.insert(one.command).second) << one.command;
    EXPECT_EQ(sampled, all_commands());
}

TEST(commands, each_prints_one_json_value_on_success)
{
    const sim::gateway gateway;
    write_files();
    for (const sample& one : samples) {
        const json value = told(one.line());
        EXPECT_EQ(value.value("status", ""), "done") << value;
        EXPECT_EQ(value.value("command", ""),
                  one.command == "watch" || one.command == "batch" ? "registry lock-status" : one.command);
    }
}

TEST(commands, each_prints_one_json_value_without_daemons)
{
    write_files();
    for (const sample& one : samples)
        told("--timeout 0.05 " + one.line());
}

TEST(commands, each_prints_one_json_value_on_wrong_usage)
{
    for (const sample& one : samples) {
        const json value = told(one.command + " --no-such-option");
        EXPECT_EQ(value.value("status", ""), "usage") << value;
    }
}

TEST(commands, those_that_destroy_want_a_yes)
{
    const json all = command_table();
    for (const json& one : all) {
        const std::string usage = one.at("usage");
        EXPECT_EQ(usage.ends_with(" --yes"), !one.at("destroys").is_null()) << usage;
    }
    for (const sample& one : samples) {
        if (!one.arguments.ends_with("--yes"))
            continue;
        const json value = told(one.line().substr(0, one.line().size() - strlen("--yes")));
        EXPECT_EQ(value.value("status", ""), "unsafe") << value;
    }
}

TEST(commands, those_that_only_read_can_be_watched)
{
    const sim::gateway gateway;
    write_files();
    for (const sample& one : samples) {
        const run_result watched = utmctl("watch --count 1 " + one.line());
        EXPECT_EQ(watched.status, one.what == does::read ? 0 : 2) << one.line() << "\n" << watched;
    }
}

// These print what they made, wrote down or ran, with --quiet too.
const std::set<std::string> tellers = {"profile create",
                                       "cf create-policy",
                                       "app create-policy",
                                       "registry reserve",
                                       "sys run",
                                       "cf dump",
                                       "app dump",
                                       "cf dump-kernel",
                                       "batch",
                                       "watch",
                                       "call"};

TEST(commands, quiet_ones_confirm_nothing)
{
    const sim::gateway gateway;
    write_files();
    for (const sample& one : samples) {
        const run_result result = utmctl("-q " + one.line());
        EXPECT_EQ(result.status, 0) << one.line() << "\n" << result;
        EXPECT_EQ(result.err, "") << one.line();
        EXPECT_TRUE(result.out.empty() || one.what != does::change || tellers.contains(one.command)) << result;
    }
}

} // namespace
