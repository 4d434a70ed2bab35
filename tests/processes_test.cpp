// What holds between processes: the registry's lock, its clearing after boot, and the log.

#include "kqutm/common.h"
#include "kqutm/profile.h"
#include "kqutm/registry.h"

#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/lines.h"
#include "tests/sandbox/printed.h"
#include "tests/sandbox/registry.h"
#include "tests/sandbox/shared.h"
#include "tests/wrap/wrap.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int process_count = 8;

pid_t start(const std::function<void()>& body)
{
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(0);
    }
    EXPECT_GT(child, 0);
    return child;
}

void expect_end_of(pid_t process, int expected)
{
    int status = -1;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, expected);
}

void expect_success_of(pid_t process)
{
    expect_end_of(process, 0);
}

// Runs body in processes of its own, all at once, each with its number.
void in_processes(const std::function<void(int)>& body)
{
    std::vector<pid_t> children;
    for (int number = 0; number < process_count; number++)
        children.push_back(start([&] { body(number); }));
    for (pid_t child : children)
        expect_success_of(child);
}

void await_wait_for_the_registry()
{
    while (semctl(semaphore(), 0, GETNCNT, 0L) != 1)
        usleep(1000);
}

// Numbers that processes share.
template <size_t count> using shared_numbers = shared<std::array<int, count>>;

template <size_t count> std::multiset<int> all_of(const shared_numbers<count>& numbers)
{
    return {numbers->begin(), numbers->end()};
}

TEST(processes, each_requested_id_is_handed_out_once)
{
    constexpr int ids = 200;
    ASSERT_EQ(init_utm_id_shm(), 0);
    const shared_numbers<process_count * ids> granted;
    in_processes([&](int number) {
        for (int id = 1; id <= ids; id++) {
            if (get_unique_id(static_cast<uint32_t>(id), UTM_ID_USER_PROFILE) == id)
                granted->at(static_cast<size_t>(number * ids + id - 1)) = id;
        }
    });
    const std::multiset<int> all = all_of(granted);
    for (int id = 1; id <= ids; id++)
        EXPECT_EQ(all.count(id), 1U) << id;
    const slots table = all_slots();
    const std::set<uint32_t> registered(table.begin(), table.begin() + ids);
    EXPECT_EQ(registered.size(), static_cast<size_t>(ids)) << "each in a slot of its own";
    EXPECT_EQ(registered.count(0), 0U);
}

TEST(processes, no_chosen_id_is_handed_out_twice)
{
    ASSERT_EQ(init_utm_id_shm(), 0);
    const shared_numbers<process_count> chosen;
    in_processes([&](int number) { chosen->at(static_cast<size_t>(number)) = get_unique_id(0, UTM_ID_USER_PROFILE); });
    const std::multiset<int> all = all_of(chosen);
    EXPECT_GT(*all.begin(), 0);
    EXPECT_EQ(std::set<int>(all.begin(), all.end()).size(), static_cast<size_t>(process_count));
}

TEST(processes, one_that_is_killed_gives_its_lock_back)
{
    int ready[2];
    ASSERT_EQ(pipe2(ready, O_CLOEXEC), 0);
    const pid_t holder = start([&] {
        if (utm_id_config_lock(init_utm_id_config_sem()) == 0)
            (void)!write(ready[1], "x", 1);
        pause();
    });
    char byte;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    EXPECT_EQ(semaphore_value(), 0);
    const pid_t waiter = start([] { _exit(get_unique_id(5, UTM_ID_USER_PROFILE) == 5 ? 0 : 1); });
    await_wait_for_the_registry();
    kill(holder, SIGKILL);
    expect_success_of(waiter);
    waitpid(holder, nullptr, 0);
    EXPECT_EQ(slot(profiles), 5U);
    EXPECT_EQ(semaphore_value(), 1);
    close(ready[0]);
    close(ready[1]);
}

TEST(processes, one_that_is_stopped_within_an_operation_makes_the_others_wait)
{
    const pid_t stopped = start([] {
        wrap::plan plan;
        plan.before("shmat", 1, [] { raise(SIGSTOP); }); // between lock and unlock
        _exit(get_unique_id(4, UTM_ID_USER_PROFILE) == 4 ? 0 : 1);
    });
    int status = -1;
    ASSERT_EQ(waitpid(stopped, &status, WUNTRACED), stopped);
    ASSERT_TRUE(WIFSTOPPED(status));
    EXPECT_EQ(semaphore_value(), 0);
    const pid_t waiter = start([] { _exit(get_unique_id(5, UTM_ID_USER_PROFILE) == 5 ? 0 : 1); });
    await_wait_for_the_registry();
    kill(stopped, SIGCONT);
    expect_success_of(stopped);
    expect_success_of(waiter);
    EXPECT_EQ(slot(profiles), 4U);
    EXPECT_EQ(slot(profiles + 1), 5U);
    EXPECT_EQ(semaphore_value(), 1);
}

// How far an operation comes whose process is killed before it connects to the nth daemon.
struct killed_operation {
    const char* name;
    int32_t (*operation)();
    int nth;
    std::map<size_t, uint32_t> left;
};

void PrintTo(const killed_operation& killed, std::ostream* out)
{
    *out << killed.name;
}

int32_t create_9()
{
    return utm_user_profile_create(9);
}

int32_t delete_7()
{
    return utm_user_profile_delete(7);
}

const std::map<size_t, uint32_t> bound_profile = {
    {profiles + 4, 7}, {cf_bindings + 4, 20}, {app_bindings + 4, 30}, {cf_policies + 1, 20}, {app_policies + 2, 30}};

std::map<size_t, uint32_t> bound_profile_and_9()
{
    auto ids = bound_profile;
    ids[profiles] = 9;
    return ids;
}

const killed_operation killed_operations[] = {
    {"create_with_none_told", create_9, 1, bound_profile_and_9()},
    {"create_with_one_told", create_9, 2, bound_profile_and_9()},
    {"create_with_two_told", create_9, 3, bound_profile_and_9()},
    {"delete_with_none_told", delete_7, 1, bound_profile},
    {"delete_with_one_told", delete_7, 2, {{app_bindings + 4, 30}, {app_policies + 2, 30}}},
    {"delete_with_two_told", delete_7, 3, {}},
};

[[noreturn]] void die_within(const killed_operation& killed)
{
    const config_daemons daemons;
    wrap::plan plan;
    plan.before("connect", killed.nth, [] { raise(SIGKILL); });
    _exit(killed.operation());
}

slots slots_with(const std::map<size_t, uint32_t>& values)
{
    slots all(1280, 0);
    for (const auto& [number, id] : values)
        all[number] = id;
    return all;
}

class killed_process : public testing::TestWithParam<killed_operation> {};

TEST_P(killed_process, leaves_what_it_had_begun_in_several_daemons_as_far_as_it_came)
{
    register_ids(bound_profile);
    expect_end_of(start([] { die_within(GetParam()); }), SIGKILL);
    EXPECT_EQ(all_slots(), slots_with(GetParam().left));
    EXPECT_EQ(semaphore_value(), 1);
}

INSTANTIATE_TEST_SUITE_P(processes, killed_process, testing::ValuesIn(killed_operations),
                         [](const testing::TestParamInfo<killed_operation>& killed) { return killed.param.name; });

TEST(processes, all_see_a_clear_registry_after_boot)
{
    set_slots({{profiles, 5}, {cf_bindings + 9, 6}, {app_policies + 255, 7}});
    const shared_numbers<process_count> results;
    in_processes([&](int number) { results->at(static_cast<size_t>(number)) = init_utm_id_shm(); });
    EXPECT_EQ(all_of(results).count(0), static_cast<size_t>(process_count));
    EXPECT_EQ(all_slots(), slots(1280, 0));
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(processes, lines_of_several_writers_stay_whole)
{
    constexpr int count = 100;
    in_processes([](int number) {
        for (int line = 0; line < count; line++)
            utm_log(UTM_APPCF_LOG, "[writer_%d]line %d of some length\n", number, line);
    });
    unordered_lines expected;
    for (int number = 0; number < process_count; number++) {
        for (int line = 0; line < count; line++)
            expected.insert("[writer_" + std::to_string(number) + "]line " + std::to_string(line) + " of some length");
    }
    EXPECT_EQ(lines_of(appcf_log()), expected);
}

// Whoever finds the old file too large moves what is there by then, be it the old file or a fresh one; so a line may go
// with a file that is replaced, but none is broken or written twice, and none reaches the old file.
TEST(processes, rotation_by_several_at_once_leaves_whole_lines_in_two_files)
{
    constexpr char older_log[] = UTM_APPCF_LOG "2";
    constexpr uintmax_t size_of_old = 5242881;
    const std::regex whole_lines("(a line\n)*");
    for (int round = 0; round < 10; round++) {
        unlink(older_log);
        make_sparse_file(UTM_APPCF_LOG, size_of_old);
        // A move of what somebody else has moved complains.
        printed_by([] { in_processes([](int) { utm_log(UTM_APPCF_LOG, "a line\n"); }); });
        std::string lines = appcf_log();
        EXPECT_NE(lines, "") << "the last to rotate wrote after it";
        if (std::filesystem::file_size(older_log) != size_of_old)
            lines += content_of(older_log);
        EXPECT_TRUE(std::regex_match(lines, whole_lines)) << lines;
        EXPECT_LE(std::count(lines.begin(), lines.end(), '\n'), process_count);
    }
    for (const auto& file : std::filesystem::directory_iterator("/tmp/utm_log")) {
        const std::string path = file.path();
        EXPECT_TRUE(path == UTM_APPCF_LOG || path == older_log) << path;
    }
}

} // namespace
