// Results that do not depend on the state of the program or of the disk.

#include "kqutm/daemon.h"
#include "kqutm/profile.h"

#include "tests/engines/engines.h"
#include "tests/sandbox/descriptors.h"
#include "tests/sandbox/disks.h"
#include "tests/sandbox/printed.h"
#include "tests/sandbox/profiles.h"
#include "tests/sandbox/sender.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

constexpr answers usual_answers = {.app = absent, .user_profile = 7};

// Operations that the usual answers let succeed and fail.
void expect_usual_results()
{
    impatient caller;
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), 0);
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_USER_PROFILE), -1);
    EXPECT_EQ(errno, EREMOTEIO);
    EXPECT_EQ(utm_user_profile_create(5), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(utm_user_profile_delete(6), -1);
    EXPECT_EQ(errno, ENOENT);
}

std::string usual_log()
{
    return refused(7) + refused(7) + unreachable() + "delete user profile fail(id(6) not found)\n";
}

// While it lives, children of the program vanish unawaited.
class ignored_children {
public:
    ignored_children() { signal(SIGCHLD, SIG_IGN); }
    ignored_children(const ignored_children&) = delete;
    ignored_children& operator=(const ignored_children&) = delete;
    ~ignored_children() { signal(SIGCHLD, SIG_DFL); }
};

TEST(surroundings, usual_ones)
{
    config_daemons daemons(usual_answers);
    expect_usual_results();
    EXPECT_EQ(appcf_log(), usual_log());
}

TEST(surroundings, log_that_is_a_folder)
{
    std::filesystem::create_directories(UTM_APPCF_LOG);
    config_daemons daemons(usual_answers);
    expect_usual_results();
    EXPECT_TRUE(std::filesystem::is_empty(UTM_APPCF_LOG));
}

TEST(surroundings, log_folder_that_is_a_file)
{
    write_file("/tmp/utm_log", "a file\n");
    config_daemons daemons(usual_answers);
    printed_by(expect_usual_results); // touch says that it cannot
    EXPECT_EQ(content_of("/tmp/utm_log"), "a file\n");
}

TEST(surroundings, log_folder_that_cannot_be_written)
{
    for (const std::string& before : {std::string(), std::string("an earlier line\n")}) {
        std::filesystem::create_directory("/tmp/utm_log");
        if (!before.empty())
            write_file(UTM_APPCF_LOG, before);
        config_daemons daemons(usual_answers);
        read_only_folder folder("/tmp/utm_log");
        printed_by(expect_usual_results);
        EXPECT_EQ(exists(UTM_APPCF_LOG), !before.empty());
        EXPECT_EQ(appcf_log(), before);
    }
}

TEST(surroundings, full_disk)
{
    full_disk disk("/tmp/utm_log");
    config_daemons daemons(usual_answers);
    expect_usual_results();
    EXPECT_TRUE(exists(UTM_APPCF_LOG));
    EXPECT_EQ(appcf_log(), "");
}

// Operations that log a failure, one for each log.
const struct {
    int32_t (*call)();
    int32_t result;
    int cause;
} failing[] = {
    {[] { return send_utm_config_event(event, UTM_CONFIG_TARGET_USER_PROFILE); }, -1, EREMOTEIO},
    {[] { return utm_uuid_set(std::string(256, 'x').c_str()); }, -1, EINVAL},
    {utm_ips_reset, 5, EREMOTEIO},
    {utm_devid_reset, 6, EREMOTEIO},
};

TEST(surroundings, tmp_that_cannot_be_written)
{
    config_daemons daemons(usual_answers);
    engine_daemon ips(ips_path, records{ips_reply(5)});
    engine_daemon devid(devid_path, records{devid_reply(6)});
    read_only_folder tmp("/tmp");
    printed_by([] { // the shell that cannot create the folder says so
        for (const auto& [call, result, cause] : failing) {
            EXPECT_EQ(call(), result);
            EXPECT_EQ(errno, cause);
        }
    });
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(surroundings, program_that_ignores_sigchld)
{
    ignored_children children;
    config_daemons daemons(usual_answers);
    expect_usual_results();
    EXPECT_EQ(appcf_log(), usual_log());
}

TEST(surroundings, program_that_closed_its_standard_input)
{
    config_daemons daemons(usual_answers);
    closed_stdin closed;
    expect_usual_results();
    EXPECT_EQ(appcf_log(), usual_log());
}

TEST(surroundings, log_gives_descriptor_0_back)
{
    closed_stdin closed;
    utm_log(UTM_APPCF_LOG, "a line\n");
    EXPECT_EQ(fcntl(0, F_GETFD), -1);
    EXPECT_EQ(appcf_log(), "a line\n");
}

} // namespace
