#include "tests/sandbox/registry.h"
#include "tests/utmctl/box.h"
#include "tests/utmctl/ended_process.h"
#include "tests/utmctl/stopped_daemon.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

// Boxes with one thing wrong each: the doctor finds it, and nothing else.

namespace {

namespace fs = std::filesystem;

struct diagnosis {
    std::string severity;
    std::string check;
    std::string what;
    std::string remedy;
};

struct broken_box {
    const char* name;
    diagnosis (*spoil)(whole_box& box);
    const char* without = ""; // the path of a daemon that is missing
    const char* line = doctor_line;
};

void PrintTo(const broken_box& one, std::ostream* stream)
{
    *stream << one.name;
}

// One behind which nobody listens.
void leave_socket(const char* path)
{
    EXPECT_EQ(mknod(path, S_IFSOCK | 0777, 0), 0);
}

void make_older(const char* path)
{
    const timespec times[] = {{.tv_sec = 1000, .tv_nsec = 0}, {.tv_sec = 1000, .tv_nsec = 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, path, times, 0), 0);
}

void mount_read_only(const char* folder)
{
    fs::create_directory(folder);
    EXPECT_EQ(mount("none", folder, "tmpfs", MS_RDONLY, nullptr), 0) << strerror(errno);
}

const broken_box boxes[] = {
    {"absent_socket",
     [](whole_box&) -> diagnosis {
         return {"error", "sockets",
                 "the socket /tmp/utm_ips of the IPS daemon cannot be found: No such file or directory",
                 "start the IPS daemon"};
     },
     ips.path},
    {"socket_of_a_dead_daemon",
     [](whole_box&) -> diagnosis {
         leave_socket(ir.path);
         return {"error", "sockets",
                 "nobody listens at /tmp/utm_ir: the IR daemon has ended and left its socket behind",
                 "start the IR daemon again"};
     },
     ir.path},
    {"file_in_place_of_a_socket",
     [](whole_box&) -> diagnosis {
         write_file(av.path, "");
         return {"error", "sockets", "/tmp/utm_av is not a socket, so nobody reaches the anti-virus daemon",
                 "remove it and start the anti-virus daemon again"};
     },
     av.path},
    {"daemon_that_hangs",
     [](whole_box& box) -> diagnosis {
         box.keep<engine_daemon>(devid, sim::script{sim::receive(), sim::await_close()});
         return {"error", "sockets", "the device-identification daemon (/tmp/utm_devid) did not answer in time",
                 "find out why the device-identification daemon hangs, or start it again"};
     },
     devid.path, "doctor --timeout 1"},
    {"daemon_that_is_stopped",
     [](whole_box& box) -> diagnosis {
         const auto& daemon = box.keep<stopped_daemon>(ips.path);
         return {"error", "sockets",
                 "the IPS daemon (/tmp/utm_ips) did not answer in time: " + process(daemon.process()) + " is stopped",
                 "continue it with 'kill -CONT " + std::to_string(daemon.process()) + "'"};
     },
     ips.path, "doctor --timeout 1"},
    {"daemon_of_another_version",
     [](whole_box& box) -> diagnosis {
         box.keep<sim::scripted_daemon>(app_path, answer(records{sim::bytes(831)}));
         return {"error", "sockets",
                 "the application daemon (/dev/utm_app_config_socket) answered with a record of the wrong size",
                 "check that the application daemon and the library are of one version"};
     },
     app_path},
    {"daemon_that_breaks_off",
     [](whole_box& box) -> diagnosis {
         box.keep<engine_daemon>(ips, sim::script{sim::receive()});
         return {"error", "sockets", "the IPS daemon (/tmp/utm_ips) ended the connection without an answer",
                 "find out why the IPS daemon breaks off, or start it again"};
     },
     ips.path},
    {"user_profile_daemon_that_is_stopped",
     [](whole_box& box) -> diagnosis {
         const auto& daemon = box.keep<stopped_daemon>(user_profile_path);
         return {"error", "sockets",
                 "the user-profile daemon (/dev/utm_user_profile_socket) takes connections, but does not answer: " +
                     process(daemon.process()) + " is stopped",
                 "continue it with 'kill -CONT " + std::to_string(daemon.process()) + "'"};
     },
     user_profile_path},
    {"socket_closed_to_others",
     [](whole_box&) -> diagnosis {
         chmod(av.path, 0755);
         return {"warning", "sockets", "/tmp/utm_av has mode 0755, so programs of other users cannot connect",
                 "'chmod 0777 /tmp/utm_av' lets them"};
     }},
    {"missing_key_file",
     [](whole_box& box) -> diagnosis {
         box.keep<missing_key_file>();
         return {
             "error", "key-file",
             "the key file /usr/lib/libkqutm.so cannot be found (No such file or directory), so the ID registry and "
             "the UUID are out of everybody's reach",
             "install the library at that path, and restart the gateway"};
     }},
    {"replaced_key_file",
     [](whole_box& box) -> diagnosis {
         register_ids({{0, 7}, {512, 70}});
         const int id = shmget(ftok(key_file, 'a'), 0, 0);
         box.keep<replaced_key_file>();
         return {
             "error", "left-behind",
             "the library file /usr/lib/libkqutm.so was replaced while the gateway ran, so that nobody reaches the ID "
             "registry (shared memory " +
                 std::to_string(id) + ") with 2 identifiers any more",
             "restart the gateway"};
     }},
    {"segment_of_another_program",
     [](whole_box&) -> diagnosis {
         const int id = shmget(ftok(key_file, 'q'), 100, IPC_CREAT | 0666);
         return {"error", "segments",
                 "the store of the UUID (shared memory " + std::to_string(id) +
                     ") has 100 bytes instead of 256, so another program made it",
                 "end the program that made it, remove it with 'ipcrm -m " + std::to_string(id) +
                     "', and restart the gateway"};
     }},
    {"segment_closed_to_others",
     [](whole_box&) -> diagnosis {
         const int id = shmget(ftok(key_file, 'a'), 5120, IPC_CREAT | 0600);
         write_file(registry_marker, "");
         return {"warning", "segments",
                 "the ID registry (shared memory " + std::to_string(id) + ") is closed to programs of other users",
                 "end the program that made it, remove it with 'ipcrm -m " + std::to_string(id) +
                     "', and restart the gateway"};
     }},
    {"lock_of_a_stopped_process",
     [](whole_box& box) -> diagnosis {
         const auto& holder = box.keep<stopped_lock_holder>();
         return {"error", "locks", process(holder.process()) + " is stopped and holds the registry lock",
                 "continue it with 'kill -CONT " + std::to_string(holder.process()) + "', or end it"};
     }},
    {"lock_of_the_uuid_of_a_stopped_process",
     [](whole_box& box) -> diagnosis {
         const auto& holder = box.keep<stopped_lock_holder>(take_uuid_lock);
         return {"error", "locks", process(holder.process()) + " is stopped and holds the lock of the UUID",
                 "continue it with 'kill -CONT " + std::to_string(holder.process()) + "', or end it"};
     }},
    {"lock_that_is_kept",
     [](whole_box& box) -> diagnosis {
         const auto& holder = box.keep<stopped_lock_holder>();
         holder.go_on();
         return {"warning", "locks", process(holder.process()) + " keeps the registry lock",
                 "find out what it does, or end it"};
     }},
    {"lock_of_a_dead_process",
     [](whole_box&) -> diagnosis {
         const std::string dead = std::to_string(process_that_took_the_lock_for_good());
         return {"error", "locks",
                 "process " + dead + " (of unknown name) has ended without giving back the registry lock",
                 "restart the gateway"};
     }},
    {"lock_closed_to_others",
     [](whole_box&) -> diagnosis {
         semctl(semget(ftok(key_file, 'j'), 1, IPC_CREAT | 0600), 0, SETVAL, 1L);
         return {"warning", "locks", "the lock of the UUID is closed to programs of other users",
                 "restart the gateway"};
     }},
    {"lock_for_two",
     [](whole_box&) -> diagnosis {
         semctl(semaphore(), 0, SETVAL, 2L);
         return {"error", "locks",
                 "the registry lock has the value 2 instead of 0 or 1, so that several processes may hold it at once",
                 "restart the gateway"};
     }},
    {"registry_never_cleared",
     [](whole_box&) -> diagnosis {
         set_slots({{0, 7}});
         return {"warning", "marker",
                 "the ID registry was never cleared since the gateway started, and the first profile or policy that is "
                 "created will wipe out what it holds",
                 "'touch /tmp/utm_user_profile_shm' keeps it, 'utmctl registry clear --yes' clears it now"};
     }},
    {"marker_without_registry",
     [](whole_box&) -> diagnosis {
         write_file(registry_marker, "");
         return {
             "warning", "marker",
             "the marker /tmp/utm_user_profile_shm tells of an ID registry that is not there, so its identifiers are "
             "lost",
             "restart the gateway"};
     }},
    {"profile_bound_to_nothing",
     [](whole_box&) -> diagnosis {
         register_ids({{0, 7}, {256, 70}});
         return {"error", "slots", "profile 7 is bound to content-filter policy 70, which is not registered",
                 "'utmctl profile bind-cf 7 POLICY' binds it to one that is"};
     }},
    {"switch_file_that_cannot_be_read",
     [](whole_box&) -> diagnosis {
         leave_socket(category_file);
         return {
             "error", "filter",
             "the switch file /tmp/web_category_activate cannot be read (No such device or address), so the content "
             "filter cannot be switched",
             "make it a file that everybody may read, or remove it and switch its engine again"};
     }},
    {"kernel_module_not_loaded",
     [](whole_box&) -> diagnosis {
         fs::remove(kernel_hdf_enable);
         return {"warning", "filter",
                 "/proc/net/cfilter_hdf_enable cannot be found, so nothing is filtered in the kernel",
                 "load the content filter's kernel module"};
     }},
    {"filter_that_does_not_follow",
     [](whole_box&) -> diagnosis {
         write_file(safe_browsing_file, "1\n");
         return {
             "error", "filter",
             "an engine of the content filter is switched on, but /tmp/cf_activate tells that the filter as a whole "
             "is off",
             "'utmctl cf activate' makes the filter follow its engines"};
     }},
    {"kernel_that_does_not_follow",
     [](whole_box&) -> diagnosis {
         write_file(safe_browsing_file, "1\n");
         write_file(filter_marker, "");
         return {"error", "filter",
                 "the content filter is on, but the kernel's switch /proc/net/cfilter_enable holds '0' instead of '1'",
                 "'utmctl cf switch-kernel on' sets it"};
     }},
    {"kernel_that_filters_on",
     [](whole_box&) -> diagnosis {
         write_file(kernel_hdf_enable, "yes\n");
         return {
             "warning", "filter",
             "the content filter is off, but the kernel's switch /proc/net/cfilter_hdf_enable holds 'yes' instead of "
             "'no'",
             "'utmctl cf switch-kernel off' sets it"};
     }},
    {"no_pid_file",
     [](whole_box&) -> diagnosis {
         fs::remove(pid_file);
         return {"warning", "filter-daemon",
                 "the pid file /var/run/contfltd.pid cannot be read (No such file or directory), so the content-filter "
                 "daemon does not learn when the filter is switched",
                 "start the content-filter daemon again"};
     }},
    {"pid_file_of_nobody",
     [](whole_box&) -> diagnosis {
         write_file(pid_file, "0\n");
         return {"warning", "filter-daemon",
                 "the pid file /var/run/contfltd.pid holds '0', which is no process, so the content-filter daemon does "
                 "not learn when the filter is switched",
                 "start the content-filter daemon again"};
     }},
    {"pid_file_of_a_dead_process",
     [](whole_box&) -> diagnosis {
         const std::string dead = std::to_string(ended_process([] {}));
         write_file(pid_file, dead + "\n");
         return {"error", "filter-daemon",
                 "the pid file /var/run/contfltd.pid names process " + dead +
                     ", which has ended, so the content-filter daemon does not learn when the filter is switched",
                 "start the content-filter daemon again"};
     }},
    {"command_that_nobody_takes",
     [](whole_box&) -> diagnosis {
         write_file(command_file, "29\n");
         make_older(command_file);
         return {
             "warning", "filter-daemon",
             "the command in /var/run/contfltd.cmd has not been taken, so the content-filter daemon is not switched "
             "as the kernel is",
             "start the content-filter daemon again"};
     }},
    {"temporary_folder_not_sticky",
     [](whole_box&) -> diagnosis {
         chmod("/tmp", 0777);
         return {"warning", "temporary-folder",
                 "/tmp is not sticky, so any user may remove the daemons' sockets and the registry's marker",
                 "'chmod 1777 /tmp' makes it so"};
     }},
    {"temporary_folder_closed_to_others",
     [](whole_box&) -> diagnosis {
         chmod("/tmp", 01755);
         return {"warning", "temporary-folder",
                 "/tmp is closed to other users, whose programs cannot create switches and logs",
                 "'chmod 1777 /tmp' opens it"};
     }},
    {"temporary_folder_full",
     [](whole_box&) -> diagnosis {
         write_file("/tmp/filling", std::string(8192, ' '));
         EXPECT_EQ(mount(nullptr, "/tmp", nullptr, MS_REMOUNT | MS_NOSUID, "size=8192"), 0) << strerror(errno);
         return {"error", "temporary-folder", "/tmp is full, so switches, markers and logs cannot be written",
                 "remove what fills it"};
     }},
    {"log_folder_not_writable",
     [](whole_box&) -> diagnosis {
         fs::create_directory(log_folder);
         chmod(log_folder, 0555);
         return {"warning", "log-folder", "the log folder /tmp/utm_log is not writable, so new logs cannot be made",
                 "'chmod 755 /tmp/utm_log' makes it writable"};
     }},
    {"log_folder_mounted_read_only",
     [](whole_box&) -> diagnosis {
         mount_read_only(log_folder);
         return {"warning", "log-folder",
                 "the log folder /tmp/utm_log lies on a file system that is mounted read-only, so new logs cannot be "
                 "made",
                 "mount it writable"};
     }},
    {"file_in_place_of_the_log_folder",
     [](whole_box&) -> diagnosis {
         write_file(log_folder, "");
         return {"warning", "log-folder", "/tmp/utm_log is not a folder, so no failure is logged",
                 "remove it; the library makes the folder when it logs"};
     }},
    {"log_not_writable",
     [](whole_box&) -> diagnosis {
         fs::create_directory(log_folder);
         write_file(log_file, "");
         chmod(log_file, 0444);
         return {"warning", "logs",
                 "/tmp/utm_log/utm_libips_log is not writable, so failures of its family are not logged",
                 "'chmod u+w /tmp/utm_log/utm_libips_log' makes it writable"};
     }},
    {"log_that_is_not_moved_away",
     [](whole_box&) -> diagnosis {
         make_sparse_file(log_file, 6000000);
         return {"warning", "logs",
                 "/tmp/utm_log/utm_libips_log has 6000000 bytes, though it should be moved to "
                 "/tmp/utm_log/utm_libips_log2 above 5242880",
                 "remove /tmp/utm_log/utm_libips_log2 if it cannot be replaced, or this log"};
     }},
    {"folder_in_place_of_a_log",
     [](whole_box&) -> diagnosis {
         fs::create_directories(log_file);
         return {"warning", "logs", "/tmp/utm_log/utm_libips_log is not a file, so no failure of its family is logged",
                 "remove it"};
     }},
};

class doctor_on : public testing::TestWithParam<broken_box> {};

int status_of(const diagnosis& one)
{
    return one.severity == "error" ? 11 : 10;
}

TEST_P(doctor_on, finds_it_alone)
{
    whole_box box(GetParam().without);
    const diagnosis one = GetParam().spoil(box);
    const int status = status_of(one);
    EXPECT_EQ(utmctl(GetParam().line),
              (run_result{status, one.severity + ": " + one.what + "; " + one.remedy + "\n", ""}));
    EXPECT_EQ(
        utmctl(std::string("-j ") + GetParam().line),
        (run_result{status,
                    R"({"command":"doctor","status":")" + one.severity + R"(","exit":)" + std::to_string(status) +
                        R"(,"result":[{"severity":")" + one.severity + R"(","what":")" + one.what + R"(","remedy":")" +
                        one.remedy + R"(","check":")" + one.check + R"("}],"errors":[]})" + "\n",
                    ""}));
}

INSTANTIATE_TEST_SUITE_P(broken_boxes, doctor_on, testing::ValuesIn(boxes),
                         [](const auto& one) { return std::string(one.param.name); });

} // namespace
