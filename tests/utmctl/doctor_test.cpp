#include "kqutm/common.h"

#include "tests/sandbox/registry.h"
#include "tests/utmctl/box.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

TEST(doctor, is_silent_on_a_healthy_box)
{
    const whole_box box;
    EXPECT_EQ(utmctl(doctor_line), (run_result{0, "nothing wrong\n", ""}));
    EXPECT_EQ(utmctl("-q " + std::string(doctor_line)), (run_result{0, "", ""}));
    EXPECT_EQ(utmctl("-j " + std::string(doctor_line)), (run_result{0, done_line("doctor", "[]"), ""}));
}

TEST(doctor, is_silent_on_a_box_in_use)
{
    const whole_box box;
    register_ids({{0, 7}, {256, 70}, {512, 70}, {513, 71}});
    ASSERT_EQ(utm_uuid_set("home"), 0);
    make_sparse_file(log_file, 5242881);
    write_file(safe_browsing_file, "1\n");
    write_file(filter_marker, "");
    write_file(kernel_enable, "1\n");
    write_file(kernel_hdf_enable, "yes\n");
    write_file(command_file, "29\n");
    chmod(av.path, 0666); // nobody executes a socket
    EXPECT_EQ(utmctl(doctor_line), (run_result{0, "nothing wrong\n", ""}));
}

TEST(doctor, tells_all_that_is_wrong_by_the_worst_status)
{
    const whole_box box(ips.path);
    chmod("/tmp", 0777);
    EXPECT_EQ(
        utmctl(doctor_line),
        (run_result{11,
                    "error: the socket /tmp/utm_ips of the IPS daemon cannot be found: No such file or directory; "
                    "start the IPS daemon\n"
                    "warning: /tmp is not sticky, so any user may remove the daemons' sockets and the registry's "
                    "marker; 'chmod 1777 /tmp' makes it so\n",
                    ""}));
}

TEST(doctor, tells_the_worst_first)
{
    const whole_box box;
    chmod(ips.path, 0755);
    register_ids({{0, 7}, {256, 70}});
    EXPECT_EQ(utmctl(doctor_line),
              (run_result{11,
                          "error: profile 7 is bound to content-filter policy 70, which is not registered; 'utmctl "
                          "profile bind-cf 7 POLICY' binds it to one that is\n"
                          "warning: /tmp/utm_ips has mode 0755, so programs of other users cannot connect; 'chmod "
                          "0777 /tmp/utm_ips' lets them\n",
                          ""}));
}

TEST(doctor, tells_a_box_without_any_daemon_in_one_line)
{
    EXPECT_EQ(utmctl(doctor_line),
              (run_result{11,
                          "error: none of the seven daemons runs here: not one of their sockets exists; run this on "
                          "the gateway, or start the daemons\n",
                          ""}));
    const auto found = told_by(doctor_line)["result"];
    ASSERT_EQ(found.size(), 7U) << found;
    for (const auto& one : found)
        EXPECT_EQ(one["check"], "sockets");
}

TEST(doctor, tells_other_users_what_takes_root)
{
    const whole_box box;
    chmod("/tmp", 0777);
    chmod(ips.path, 0755);
    const std::string not_sticky = "warning: /tmp is not sticky, so any user may remove the daemons' sockets and the "
                                   "registry's marker; ";
    EXPECT_EQ(utmctl(doctor_line),
              (run_result{10,
                          "warning: /tmp/utm_ips has mode 0755, so programs of other users cannot connect; 'chmod "
                          "0777 /tmp/utm_ips' lets them\n" +
                              not_sticky + "'chmod 1777 /tmp' makes it so\n",
                          ""}));
    const run_result of_another = {11,
                                   "error: the IPS daemon (/tmp/utm_ips) cannot be reached: Permission denied; run "
                                   "the command as root to reach the IPS daemon\n" +
                                       not_sticky + "as root: 'chmod 1777 /tmp' makes it so\n",
                                   ""};
    EXPECT_EQ(utmctl_of_another_user(doctor_line).value_or(of_another), of_another);
}

// A box whose logs belong to the superuser is as it should be.
TEST(doctor, notes_that_a_user_may_not_write_the_logs)
{
    const whole_box box;
    fs::create_directory(log_folder);
    chmod(log_folder, 0755);
    write_file(log_file, "");
    chmod(log_file, 0644);
    const std::string may_not = " cannot be written by this user (Permission denied), for whom ";
    const std::string remedy = "; run the command as root, or let the administrator give it another owner or mode\n";
    EXPECT_EQ(utmctl(doctor_line), (run_result{0, "nothing wrong\n", ""}));
    const run_result of_another = {0,
                                   "note: the log folder /tmp/utm_log" + may_not + "new logs cannot be made" + remedy +
                                       "note: /tmp/utm_log/utm_libips_log" + may_not +
                                       "failures of its family are not logged" + remedy,
                                   ""};
    EXPECT_EQ(utmctl_of_another_user(doctor_line).value_or(of_another), of_another);
}

TEST(doctor, names_who_waits_for_a_lock)
{
    const whole_box box;
    const stopped_lock_holder holder;
    running_utmctl waiting("registry show");
    const pid_t worker = waiting.worker();
    while (semctl(semaphore(), 0, GETNCNT, 0L) != 1)
        usleep(1000);
    EXPECT_EQ(utmctl(doctor_line), (run_result{11,
                                               "error: " + process(holder.process()) +
                                                   " is stopped and holds the registry lock, and 1 waits: process " +
                                                   std::to_string(worker) + " (utmctl); continue it with 'kill -CONT " +
                                                   std::to_string(holder.process()) + "', or end it\n",
                                               ""}));
    kill(waiting.process(), SIGKILL);
    waiting.wait();
}

TEST(doctor, an_empty_registry_of_an_older_library_is_a_note)
{
    const whole_box box;
    set_slots({});
    const int id = shmget(ftok(key_file, 'a'), 0, 0);
    const replaced_key_file replaced;
    EXPECT_EQ(
        utmctl(doctor_line),
        (run_result{0,
                    "note: the library file /usr/lib/libkqutm.so was replaced while the gateway ran, so that nobody "
                    "reaches the ID registry (shared memory " +
                        std::to_string(id) + ") with 0 identifiers any more; restart the gateway\n",
                    ""}));
}

TEST(doctor, an_empty_registry_that_was_never_cleared_is_a_note)
{
    const whole_box box;
    set_slots({});
    EXPECT_EQ(utmctl(doctor_line),
              (run_result{0,
                          "note: the ID registry was never cleared since the gateway started, but holds nothing; the "
                          "first profile or policy that is created clears it, and so does 'utmctl registry init'\n",
                          ""}));
}

// What utmctl finds on a box where its library has another text in its note.
run_result doctor_with_library(const std::string& text, const std::string& other)
{
    std::string library = content_of(key_file);
    const size_t at = library.find(text);
    EXPECT_NE(at, std::string::npos);
    library.replace(at, text.size(), other);
    fs::create_directory("/tmp/other");
    std::ofstream("/tmp/other/libkqutm.so.1", std::ios::binary) << library;
    setenv("LD_LIBRARY_PATH", "/tmp/other", 1);
    const run_result told = utmctl(doctor_line);
    unsetenv("LD_LIBRARY_PATH");
    return told;
}

TEST(doctor, compares_library_and_tool)
{
    const whole_box box;
    const std::string version = result_of("version")["version"];
    const std::string other = std::string(version.size(), '9');
    const std::string subject = "utmctl " + version + " runs with a library ";
    const std::string remedy = "; install utmctl and library from one version\n";
    const std::string name("kqutm\0\0\0", 8);
    EXPECT_EQ(doctor_with_library(name + version, name + other),
              (run_result{10, "warning: " + subject + "of version " + other + remedy, ""}));
    EXPECT_EQ(doctor_with_library(name + version, "other" + std::string(3, '\0') + version),
              (run_result{10, "warning: " + subject + "that does not tell its version" + remedy, ""}));
    const std::string front = name + version + std::string(1, '\0');
    EXPECT_EQ(doctor_with_library(front + "/usr/lib/libkqutm.so", front + "/usr/lib/libother.so"),
              (run_result{11,
                          "error: " + subject +
                              "that has another key file, /usr/lib/libother.so instead of "
                              "/usr/lib/libkqutm.so" +
                              remedy,
                          ""}));
}

// Only a superuser can give files away; nobody else can meet a foreign owner of his own making.
TEST(doctor, distrusts_the_files_of_other_users)
{
    const whole_box box;
    fs::create_directory(log_folder);
    const bool given = chown(log_folder, 1000, 1000) == 0 && chown(ips.path, 1000, 1000) == 0;
    EXPECT_EQ(utmctl(doctor_line),
              given ? (run_result{10,
                                  "warning: /tmp/utm_ips belongs to user 1000, who may have put something else in the "
                                  "place of the IPS daemon; see that the IPS daemon runs as that user, or remove the "
                                  "socket and start the daemon again\n"
                                  "warning: the log folder /tmp/utm_log belongs to user 1000, who may change what the "
                                  "logs tell; 'chown root /tmp/utm_log' takes it over\n",
                                  ""})
                    : (run_result{0, "nothing wrong\n", ""}));
}

std::vector<std::string> all_paths()
{
    std::vector<std::string> paths;
    for (const char* folder : {"/tmp", "/dev", "/run"}) {
        const auto unreadable = fs::directory_options::skip_permission_denied;
        for (auto entry = fs::recursive_directory_iterator(folder, unreadable); entry != fs::end(entry); ++entry) {
            if (entry->path() == KQUTM_BUILD_FOLDER || entry->path() == "/dev/pts")
                entry.disable_recursion_pending();
            paths.push_back(entry->path());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

TEST(doctor, changes_nothing_on_a_fresh_box)
{
    const std::vector<std::string> paths = all_paths();
    EXPECT_EQ(utmctl(doctor_line).status, 11);
    EXPECT_EQ(all_paths(), paths);
    EXPECT_EQ(std::count(paths.begin(), paths.end(), log_folder), 0);
    const std::string headings_alone = content_of("/proc/sysvipc/shm");
    EXPECT_EQ(line_count(headings_alone), 1);
    const std::string no_locks = content_of("/proc/sysvipc/sem");
    EXPECT_EQ(line_count(no_locks), 1);
}

TEST(doctor, changes_nothing_on_a_box_in_use)
{
    const whole_box box;
    register_ids({{0, 7}});
    semaphore();
    const std::vector<std::string> paths = all_paths();
    const slots before = all_slots();
    const std::string locks = content_of("/proc/sysvipc/sem");
    EXPECT_EQ(utmctl(doctor_line).status, 0);
    EXPECT_EQ(all_paths(), paths);
    EXPECT_EQ(all_slots(), before);
    EXPECT_EQ(content_of("/proc/sysvipc/sem"), locks);
}

} // namespace
