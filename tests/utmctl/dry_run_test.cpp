// A rehearsal tells the steps of the real thing, and takes none of them.

#include "sim/gateway.h"
#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/key_file.h"
#include "tests/sandbox/paths.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/run.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/sem.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using sim::json;

constexpr char end_line[] = "nothing was sent and nothing changed; every daemon is taken to accept\n";

using snapshot = std::map<std::string, std::string>;

// Every file with its content that a command could change.
snapshot files_now()
{
    snapshot files;
    for (const char* folder : {"/tmp", "/tmp/utm_log", "/run", "/var/run", "/proc/net"}) {
        std::error_code ignored;
        for (const auto& entry : fs::directory_iterator(folder, ignored)) {
            const bool plain = entry.is_regular_file() && !entry.is_symlink();
            files[entry.path()] = plain ? content_of(entry.path()) : "";
        }
    }
    return files;
}

snapshot shared_memory_now()
{
    return {{"shm", content_of("/proc/sysvipc/shm")}, {"sem", content_of("/proc/sysvipc/sem")}};
}

json steps_of(const std::string& line)
{
    const json result = result_of("--dry-run " + line);
    EXPECT_EQ(result["dry_run"], true);
    return result["steps"];
}

// The steps of this kind, with these members of each.
json selected(const json& steps, const std::string& kind, const std::vector<std::string>& members)
{
    json found = json::array();
    for (const json& step : steps) {
        if (step.value("step", kind) != kind)
            continue;
        json& one = found.emplace_back();
        for (const std::string& member : members)
            one[member] = step.at(member);
    }
    return found;
}

const std::vector<std::string> record_members = {"daemon", "code", "name", "size", "fields", "bytes"};

slots with_steps(slots before, const json& steps)
{
    const std::map<std::string, size_t> tables = {{"profiles", profiles},
                                                  {"cf_bindings", cf_bindings},
                                                  {"cf_policies", cf_policies},
                                                  {"app_bindings", app_bindings},
                                                  {"app_policies", app_policies}};
    for (const json& step : selected(steps, "registry", {"table", "slot", "before", "after"})) {
        uint32_t& value = before.at(tables.at(step["table"]) + step["slot"].get<size_t>());
        EXPECT_EQ(step["before"], value) << step;
        value = step["after"];
    }
    return before;
}

void await_taken_command()
{
    while (exists(command_file))
        usleep(1000);
}

class dry_run : public testing::Test {
protected:
    json sent() const
    {
        await_taken_command();
        return gateway_.trace();
    }

    void carry_out(const std::string& line)
    {
        const run_result result = utmctl(line);
        EXPECT_EQ(result.status, 0) << line << "\n" << result;
    }

    // The real command does what was told of it, and before it nothing was done.
    void rehearse_and_carry_out(const std::string& line, const std::string& yes)
    {
        const json sent_before = sent();
        const slots ids_before = all_slots();
        const snapshot files_before = files_now();
        const json steps = steps_of(line);
        EXPECT_EQ(sent(), sent_before) << line;
        EXPECT_EQ(all_slots(), ids_before) << line;
        EXPECT_EQ(files_now(), files_before) << line;

        carry_out(line + yes);
        json sent_now = sent();
        sent_now.erase(sent_now.begin(), sent_now.begin() + static_cast<std::ptrdiff_t>(sent_before.size()));
        EXPECT_EQ(selected(steps, "send", record_members), selected(sent_now, "send", record_members)) << line;
        EXPECT_EQ(with_steps(ids_before, steps), all_slots()) << line;
    }

private:
    sim::gateway gateway_{{.start = {}, .trace = -1, .trace_bytes = true}};
};

TEST_F(dry_run, it_tells_the_records_of_the_real_command)
{
    for (const char* line : {"profile create 7",
                             "cf create-policy 70",
                             "app create-policy 80",
                             "profile bind-cf 7 70",
                             "profile bind-app 7 80",
                             "profile add-device 7 02:42:ac:11:00:05",
                             "profile set-daily-limit 7 60",
                             "profile get-daily-limit 7",
                             "profile usage 7",
                             "profile app-usage 7",
                             "profile domains 7",
                             "profile list",
                             "cf add-trusted-url example.org",
                             "cf add-keyword 70 game",
                             "cf safe-browsing on",
                             "cf status",
                             "cf dump /tmp/dump",
                             "app add-entries 80 0102030405060708",
                             "app status",
                             "ips set-whitelist 1001 0",
                             "ips rules",
                             "ips status",
                             "devid devices",
                             "devid devices --ip 192.0.2.1",
                             "devid timestamp",
                             "av set-whitelist example.org 0",
                             "av whitelist",
                             "av status",
                             "ir set-whitelist 1 2 0",
                             "ir whitelist",
                             "ir version",
                             "registry reserve profile 9",
                             "registry release profile 9",
                             "uuid set 0815",
                             "help"})
        rehearse_and_carry_out(line, "");
}

TEST_F(dry_run, it_needs_no_consent_to_what_destroys)
{
    for (const char* line :
         {"profile create 7", "profile create 8", "cf create-policy 70", "profile bind-cf 7 70", "cf safe-browsing on"})
        carry_out(line);
    for (const char* line :
         {"cf flush 0", "ir flush 0", "av flush", "ips reset", "devid flush", "reset", "registry clear"})
        rehearse_and_carry_out(line, " --yes");
}

TEST_F(dry_run, a_gateway_that_was_never_used_stays_so)
{
    const snapshot memory = shared_memory_now();
    const snapshot files = files_now();
    EXPECT_EQ(utmctl("--dry-run profile create 7"), (run_result{0,
                                                                "create: the lock of the registry\n"
                                                                "create: the segment of the registry\n"
                                                                "file: create /tmp/utm_user_profile_shm\n"
                                                                "registry: profiles[0] 0 -> 7\n"
                                                                "send to cf: create profile, 2056 bytes: id 7\n"
                                                                "    01 00*7 07 00*2047\n"
                                                                "send to user_profile: create profile, 16 bytes: id 7\n"
                                                                "    01 00 00 00 07 00*11\n"
                                                                "send to app: create profile, 136 bytes: id 7\n"
                                                                "    01 00*7 07 00*127\n" +
                                                                    std::string(end_line),
                                                                ""}));
    EXPECT_EQ(utmctl("--dry-run uuid set 0815"), (run_result{0,
                                                             "create: the lock of the UUID\n"
                                                             "create: the segment of the UUID\n"
                                                             "uuid: '' -> '0815'\n" +
                                                                 std::string(end_line),
                                                             ""}));
    EXPECT_EQ(utmctl("-j --dry-run registry show"),
              (run_result{0,
                          done_line("registry show", R"({"dry_run":true,"steps":[)"
                                                     R"({"step":"create","what":"the lock of the registry"},)"
                                                     R"({"step":"create","what":"the segment of the registry"}]})"),
                          ""}));
    EXPECT_EQ(shared_memory_now(), memory);
    EXPECT_EQ(files_now(), files);
    EXPECT_EQ(sent(), json::array());
}

TEST_F(dry_run, it_tells_files_commands_and_signals)
{
    const std::string daemon = content_of(pid_file);
    EXPECT_EQ(utmctl("-q --dry-run cf safe-browsing on"),
              (run_result{0,
                          "shell: echo 1 > /tmp/web_safe_browsing_activate\n"
                          "shell: mkdir -p /tmp/utm_log\n"
                          "shell: /bin/touch /tmp/utm_log/utm_libappcf_config_log\n"
                          "file: append /tmp/utm_log/utm_libappcf_config_log: '[utm_cf_activate]enable cf\\x0a'\n"
                          "shell: echo 1 > /proc/net/cfilter_enable\n"
                          "shell: echo yes > /proc/net/cfilter_hdf_enable\n"
                          "file: create /var/run/contfltd.cmd: '29\\x0a'\n"
                          "signal: 1 to process " +
                              std::to_string(std::stol(daemon)) +
                              "\n"
                              "file: create /tmp/cf_activate\n"
                              "send to cf: switch web safe browsing, 2056 bytes: value 1\n"
                              "    12 00*7 01 00*2047\n",
                          ""}));
    EXPECT_EQ(utmctl("-q --dry-run cf redirect-page sorry"),
              (run_result{0, "file: append /proc/net/cfilter_redirect_url: 'sorry'\n", ""}));
}

TEST(dry_run_alone, it_needs_no_daemon)
{
    EXPECT_EQ(utmctl("-q --dry-run av set-whitelist example.org 0"),
              (run_result{0,
                          "send to av: set whitelist, 96 bytes: entry example.org, operation 0\n"
                          "    06 00*19 65 78 61 6d 70 6c 65 2e 6f 72 67 00*65\n",
                          ""}));
}

TEST(dry_run_alone, it_does_not_wait_for_a_lock)
{
    register_ids({{profiles, 7}});
    ASSERT_EQ(semaphore_value(), 1);
    semctl(semaphore(), 0, SETVAL, 0L);
    EXPECT_EQ(utmctl("-q --dry-run registry release profile 7"), (run_result{0, "registry: profiles[0] 7 -> 0\n", ""}));
    EXPECT_EQ(semaphore_value(), 0);
}

TEST(dry_run_alone, it_fails_as_the_command_would)
{
    register_ids({{profiles, 7}});
    const run_result real = utmctl("profile create 7");
    const std::string log = appcf_log();
    EXPECT_EQ(utmctl("--dry-run profile create 7"),
              (run_result{1,
                          "file: append /tmp/utm_log/utm_libappcf_config_log: "
                          "'[utm_user_profile_create]can not get unique id\\x0a'\n" +
                              std::string(end_line),
                          real.err}));
    EXPECT_EQ(utmctl("-j --dry-run profile create 7").out,
              R"({"command":"profile create","status":"refused","exit":1,"result":{"dry_run":true,"steps":[)"
              R"({"step":"file","path":"/tmp/utm_log/utm_libappcf_config_log","does":"append",)"
              R"("text":"[utm_user_profile_create]can not get unique id\n"}]},)"
              R"("errors":[{"status":"refused","message":"profile 7 was not created: the ID registry holds that )"
              R"(identifier already; choose another identifier, or none to get one from the clock",)"
              R"("what":"profile 7 was not created","culprits":[{"name":"the ID registry","path":null,)"
              R"("cause":"holds that identifier already"}],"next":"choose another identifier, or none to get one from )"
              R"(the clock"}]})"
              "\n");
    EXPECT_EQ(appcf_log(), log);
    EXPECT_EQ(utmctl("--dry-run profile create x").status, 2);
}

TEST(dry_run_alone, without_the_key_file_there_is_no_registry)
{
    const missing_key_file missing;
    EXPECT_EQ(utmctl("--dry-run profile create 7").status, 5);
}

// What looks how daemons and logs do calls nothing that could be rehearsed.
TEST(dry_run_alone, what_only_looks_says_so)
{
    const std::pair<std::string, std::string> idle[] = {
        {"status", "looks"},       {"doctor", "looks"},  {"wait cf", "looks"},
        {"log", "looks"},          {"log -f", "looks"},  {"describe", "explains"},
        {"explain x", "explains"}, {"version", "looks"}, {"help", "explains"},
    };
    for (const auto& [words, deed] : idle) {
        const std::string command = words.substr(0, words.find(' '));
        EXPECT_EQ(utmctl("--dry-run " + words),
                  (run_result{0, command + " only " + deed + "; nothing would be changed\n", ""}));
        EXPECT_EQ(steps_of(words), json::array());
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(dry_run_alone, what_takes_no_step_says_so)
{
    EXPECT_EQ(utmctl("registry reserve profile 7").status, 0);
    EXPECT_EQ(utmctl("--dry-run registry show"), (run_result{0, "nothing would be sent or changed\n", ""}));
}

} // namespace
