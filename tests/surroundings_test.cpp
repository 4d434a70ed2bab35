// Results that do not depend on the state of the program or of the disk.

#include "kqutm/daemon.h"
#include "kqutm/profile.h"

#include "tests/sandbox/descriptors.h"
#include "tests/sandbox/profiles.h"
#include "tests/sandbox/sender.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/mount.h>

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

// While it lives, the log's folder lies on a disk that is full.
class full_disk {
public:
    full_disk()
    {
        std::filesystem::create_directory("/tmp/utm_log");
        EXPECT_EQ(mount("small", "/tmp/utm_log", "tmpfs", 0, "size=4096"), 0) << strerror(errno);
        write_file("/tmp/utm_log/other", std::string(1 << 20, 'x'));
    }
    full_disk(const full_disk&) = delete;
    full_disk& operator=(const full_disk&) = delete;
    ~full_disk() { EXPECT_EQ(umount("/tmp/utm_log"), 0) << strerror(errno); }
};

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

TEST(surroundings, full_disk)
{
    full_disk disk;
    config_daemons daemons(usual_answers);
    expect_usual_results();
    EXPECT_TRUE(exists(UTM_APPCF_LOG));
    EXPECT_EQ(appcf_log(), "");
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
