// The program as its users start it, from a machine that must stay as it was.

#include "tests/sim/program.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <unistd.h>

namespace {

// The sockets, files and System V objects of the machine.
std::string machine()
{
    std::string text = text_of("/proc/sysvipc/shm") + text_of("/proc/sysvipc/sem");
    for (const char* path :
         {"/dev/utm_cf_config_socket", "/dev/utm_app_config_socket", "/dev/utm_user_profile_socket", "/tmp/utm_ips",
          "/tmp/utm_devid", "/tmp/utm_av", "/tmp/utm_ir", "/run/utm-gateway", "/tmp/utm_log", "/tmp/made_inside"})
        text += fs::exists(path) ? path : "-";
    return text;
}

const std::string fault_names =
    "refuse, status, delay, silence, close, short, split, garbage, endless, crash, stop, absent, deaf";

TEST_F(program, passes_on_the_exit_status)
{
    EXPECT_EQ(gateway("run -- true").status, 0);
    EXPECT_EQ(gateway("run -- sh -c 'exit 7'").status, 7);
    EXPECT_EQ(gateway("run -- sh -c 'kill -9 $$'").status, 137);
}

TEST_F(program, tells_a_command_that_is_not_there_from_one_that_cannot_run)
{
    const outcome missing = gateway("run -- no-such-command");
    EXPECT_EQ(missing.status, 127);
    EXPECT_EQ(missing.output, "utm-gateway: no-such-command: No such file or directory\n");
    EXPECT_EQ(gateway("run -- /etc/passwd").status, 126);
}

TEST_F(program, refuses_wrong_usage)
{
    const outcome nothing = gateway("");
    EXPECT_EQ(nothing.status, 2);
    EXPECT_EQ(nothing.output, "utm-gateway: a command is required; --help lists them\n");
    const outcome unknown = gateway("frob");
    EXPECT_EQ(unknown.status, 2);
    EXPECT_EQ(unknown.output, "The following argument was not expected: frob\nRun with --help for more information.\n");
    EXPECT_EQ(gateway("run").status, 2);
    EXPECT_EQ(gateway("run --no-such-option -- true").status, 2);
    const outcome fault = gateway("run --fault cf:1:boom -- true");
    EXPECT_EQ(fault.status, 2);
    EXPECT_EQ(fault.output,
              "utm-gateway: fault \"1:boom\": there is no fault \"boom\" (there are " + fault_names + ")\n");
    EXPECT_EQ(gateway("run --fault nix:1:close -- true").output,
              "utm-gateway: no daemon is called \"nix\" (there are cf, app, user_profile, ips, devid, av, ir)\n");
}

TEST_F(program, has_everything_ready_before_the_command)
{
    const outcome ready = gateway("run -- ls /dev/utm_cf_config_socket /dev/utm_app_config_socket "
                                  "/dev/utm_user_profile_socket");
    EXPECT_EQ(ready.status, 0);
    EXPECT_EQ(gateway("run -- utm-gateway state user_profile").output, "{\n  \"profiles\": []\n}\n");
}

TEST_F(program, installs_the_library)
{
    EXPECT_EQ(gateway("run -- cmp /usr/lib/libkqutm.so " KQUTM_LIBRARY).status, 0);
    fs::copy_file(KQUTM_LIBRARY, file("other.so"));
    std::ofstream(file("other.so"), std::ios::app) << "more";
    EXPECT_EQ(gateway("run --library " + file("other.so") + " -- cmp /usr/lib/libkqutm.so " + file("other.so")).status,
              0);
}

TEST_F(program, takes_faults_while_it_runs)
{
    const outcome faults = gateway("run --fault cf:1:refuse=5 -- sh -c "
                                   "'utm-gateway fault cf 2:close:3; utm-gateway fault cf; utm-gateway fault cf clear;"
                                   " utm-gateway fault cf; echo end'");
    EXPECT_EQ(faults.output, "1:refuse=5\n2:close:3\nend\n");
}

TEST_F(program, refuses_all_faults_where_one_is_wrong)
{
    const outcome faults = gateway("run -- sh -c 'utm-gateway fault cf 1:close 2:boom; echo $?; utm-gateway fault cf'");
    EXPECT_EQ(faults.output,
              "utm-gateway: fault \"2:boom\": there is no fault \"boom\" (there are " + fault_names + ")\n2\n");
}

TEST_F(program, prints_its_version)
{
    const outcome version = gateway("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output, "utm-gateway " KQUTM_VERSION "\n");
}

TEST_F(program, tells_a_gateway_without_daemons_from_none)
{
    const outcome none = gateway("state");
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.output, "utm-gateway: no gateway runs here\n");
    const outcome stopped = gateway("run -- sh -c 'for daemon in cf app user_profile ips devid av ir; "
                                    "do utm-gateway stop $daemon; done; utm-gateway state'");
    EXPECT_EQ(stopped.status, 0);
    EXPECT_EQ(nlohmann::ordered_json::parse(stopped.output).dump(),
              R"({"cf":null,"app":null,"user_profile":null,"ips":null,"devid":null,"av":null,"ir":null})");
}

TEST_F(program, stops_and_restarts_daemons)
{
    const outcome daemons =
        gateway("run -- sh -c 'utm-gateway stop user_profile; utm-gateway state user_profile; echo $?; "
                "utm-gateway restart user_profile; utm-gateway state user_profile'");
    EXPECT_EQ(daemons.output, "utm-gateway: user_profile does not run here\n1\n{\n  \"profiles\": []\n}\n");
}

TEST_F(program, writes_the_trace_to_the_machine_outside)
{
    const std::string send = R"(python3 -c 'import socket; s = socket.socket(socket.AF_UNIX);
s.connect("/dev/utm_user_profile_socket"); s.send(bytes([1, 0, 0, 0, 7, 0, 0, 0]) + bytes(8)); s.recv(832)')";
    EXPECT_EQ(gateway("run --trace-bytes --trace " + file("trace") + " -- " + send).output, "");
    auto line = nlohmann::ordered_json::parse(text_of(file("trace")));
    line.erase("time");
    EXPECT_EQ(line.dump(), R"({"sequence":1,"daemon":"user_profile","code":1,"name":"create profile","size":16,)"
                           R"("fields":{"id":7},"answer":{"status":0},"bytes":"01000000070000000000000000000000"})");
    const std::string table = gateway("trace " + file("trace")).output;
    EXPECT_NE(table.find(" user_profile create profile id 7   status 0\n"), std::string::npos) << table;
}

TEST_F(program, shortens_long_texts_in_the_table_of_a_trace)
{
    nlohmann::ordered_json line = {{"time", "2026-01-01T00:00:00.000000Z"},
                                   {"sequence", 1},
                                   {"daemon", "cf"},
                                   {"code", 8},
                                   {"name", "add trusted URL"},
                                   {"size", 2056},
                                   {"fields", {{"url", std::string(40, 'x')}}},
                                   {"answer", {{"status", 0}}}};
    std::string trace = line.dump() + "\n";
    line["fields"]["url"] = std::string(41, 'x');
    trace += line.dump() + "\n";
    line["fields"]["url"] = std::string(39, 'x') + "\u00e4" + "y";
    trace += line.dump() + "\n";
    std::ofstream(file("trace")) << trace;
    const std::string table = gateway("trace " + file("trace")).output;
    EXPECT_NE(table.find(" url " + std::string(40, 'x') + "  "), std::string::npos) << table;
    EXPECT_NE(table.find(" url " + std::string(40, 'x') + "... "), std::string::npos) << table;
    EXPECT_NE(table.find(" url " + std::string(39, 'x') + "... "), std::string::npos) << table;
}

TEST_F(program, runs_the_scenario_of_its_manual)
{
    const std::string manual = text_of(KQUTM_DOCS "/simulated-gateway.md");
    const size_t start = manual.find("```json\n") + 8;
    std::ofstream(file("home.json")) << manual.substr(start, manual.find("```", start) - start);
    const outcome state = gateway("run --scenario " + file("home.json") +
                                  " -- sh -c 'utm-gateway state; utm-gateway fault cf; cat /proc/self/net/fib_trie'");
    EXPECT_EQ(state.status, 0);
    EXPECT_NE(state.output.find("\"02:42:ac:11:00:05\""), std::string::npos);
    EXPECT_NE(state.output.find("\n1:refuse=5:1\n"), std::string::npos);
    EXPECT_NE(state.output.find("192.168.1.1"), std::string::npos);
}

TEST_F(program, names_the_scenario_that_cannot_be_read)
{
    const outcome missing = gateway("run --scenario " + file("missing.json") + " -- true");
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.output, "utm-gateway: " + file("missing.json") + ": No such file or directory\n");
    const outcome folder = gateway("run --scenario " + folder_.string() + " -- true");
    EXPECT_EQ(folder.status, 2);
    EXPECT_EQ(folder.output.find("utm-gateway: " + folder_.string() + ": "), 0U) << folder.output;
}

TEST_F(program, names_the_wrong_key_of_a_scenario)
{
    std::ofstream(file("home.json")) << R"({"fc": {}})";
    const outcome wrong = gateway("run --scenario " + file("home.json") + " -- true");
    EXPECT_EQ(wrong.status, 2);
    EXPECT_EQ(wrong.output, "utm-gateway: " + file("home.json") + ": unknown key \"fc\"\n");
}

TEST_F(program, leaves_the_machine_as_it_was)
{
    const std::string before = machine();
    EXPECT_EQ(gateway("run -- sh -c 'touch /tmp/made_inside; ipcmk -M 64 -S 1 >/dev/null; mkdir /tmp/utm_log'").output,
              "");
    EXPECT_EQ(machine(), before);
}

TEST_F(program, keeps_the_current_folder)
{
    const outcome folder =
        shell("cd " + folder_.string() + " && touch here && " KQUTM_GATEWAY " run -- sh -c 'pwd; ls'");
    EXPECT_EQ(folder.output, folder_.string() + "\nhere\n");
    EXPECT_EQ(shell("cd /tmp && " KQUTM_GATEWAY " run -- sh -c 'touch made_inside; pwd'").output, "/tmp\n");
    EXPECT_FALSE(fs::exists("/tmp/made_inside"));
}

TEST_F(program, gives_each_run_a_gateway_of_its_own)
{
    const std::string first = "run --fault cf:1:close -- sh -c 'touch first; "
                              "until test -e second; do sleep 0.05; done; utm-gateway fault cf'";
    const std::string second = "run --fault cf:2:close -- sh -c 'utm-gateway fault cf; touch second'";
    const outcome both = shell("cd " + folder_.string() + "; " KQUTM_GATEWAY " " + first +
                               " & until test -e first; do sleep 0.05; done; " KQUTM_GATEWAY " " + second + "; wait");
    EXPECT_EQ(both.output, "2:close\n1:close\n");
}

TEST_F(program, works_for_an_ordinary_user)
{
    const std::string become = geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
    const outcome user = shell("cd / && " + become + KQUTM_GATEWAY " run -- utm-gateway state user_profile");
    EXPECT_EQ(user.status, 0);
    EXPECT_EQ(user.output, "{\n  \"profiles\": []\n}\n");
}

TEST_F(program, serves_without_namespaces_until_it_is_told_to_end)
{
    // Inside another gateway, whose supervisor a /run of its own hides.
    const outcome served = gateway("run -- unshare --mount sh -c 'mount -t tmpfs none /run; "
                                   "utm-gateway serve --fault app:absent > /run/out & "
                                   "until grep -qs ready /run/out; do sleep 0.05; done; ls /run/utm-gateway; "
                                   "kill -TERM $!; wait $!; echo $?; ls /run; ls /dev | grep -c utm_'");
    EXPECT_EQ(served.output, "app\nav\ncf\ndevid\ngateway\nips\nir\nuser_profile\n0\nout\n0\n");
}

TEST_F(program, takes_several_faults)
{
    const outcome faults = gateway("run --fault cf:1:refuse=5 --fault app:2:close --fault cf:any:delay=1:3 -- "
                                   "sh -c 'utm-gateway fault cf; echo; utm-gateway fault app'");
    EXPECT_EQ(faults.output, "1:refuse=5\nany:delay=1:3\n\n2:close\n");
}

TEST_F(program, explains_each_of_its_commands)
{
    const std::string kinds[] = {
        "refuse=", "status=", "delay=", "silence", "close", "short=", "split=", "garbage", "endless", "crash", "stop"};
    for (const std::string name : {"run", "shell", "serve", "state", "fault", "restart", "stop", "trace"}) {
        const outcome help = gateway(name + " --help");
        EXPECT_EQ(help.status, 0);
        EXPECT_NE(help.output.find("Example: utm-gateway " + name), std::string::npos) << help.output;
        const bool takes_faults = help.output.find("KIND") != std::string::npos;
        EXPECT_EQ(takes_faults, name == "run" || name == "shell" || name == "serve" || name == "fault");
        for (const std::string& kind : kinds) {
            if (takes_faults) {
                EXPECT_NE(help.output.find(kind), std::string::npos) << name << ' ' << kind;
            }
        }
    }
}

} // namespace
