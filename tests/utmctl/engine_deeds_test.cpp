#include "tests/utmctl/engines.h"
#include "tests/utmctl/run.h"

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// The commands that an engine answers with a number or a status.

namespace {

using requests = std::vector<sim::bytes>;

struct deed_case {
    const char* line;
    const engine& to;
    const char* subject;
    const char* participle;
    requests sent; // by connection

    friend std::ostream& operator<<(std::ostream& stream, const deed_case& one) { return stream << one.line; }
};

sim::bytes operator+(sim::bytes first, const sim::bytes& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

const std::vector<deed_case>& deeds()
{
    static const std::string path = "/var/lib/utm/1.db";
    static const std::vector<deed_case> all = {
        {"ips switch on", ips, "the IPS engine", "switched on", {request_to(ips, {{0, 0}, {4, 1}})}},
        {"ips switch off", ips, "the IPS engine", "switched off", {request_to(ips, {{0, 0}, {4, 0}})}},
        {"ips set-whitelist rule-1234 1",
         ips,
         "rule rule-1234",
         "set in the whitelist with action 1",
         {request_to(ips, {{0, 3}, {52, 1}}, 20, "rule-1234")}},
        {"ips set-blacklist 0123456789 0",
         ips,
         "rule 0123456789",
         "set in the blacklist with action 0",
         {request_to(ips, {{0, 4}, {52, 0}}, 20, "0123456789")}},
        {"ips update-signature /var/lib/utm/1.db",
         ips,
         "the signature file /var/lib/utm/1.db",
         "loaded",
         {request_to(ips, {{0, 6}}, 56, path)}},
        {"ips debug on", ips, "debugging of the IPS engine", "switched on", {request_to(ips, {{0, 7}, {12, 1}})}},
        {"ips reset --yes", ips, "the IPS engine", "reset", {request_to(ips, {{0, 8}})}},
        {"ips flush 2 --yes", ips, "the IPS engine", "flushed with mode 2", {request_to(ips, {{0, 9}, {16, 2}})}},

        {"devid switch on", devid, "device identification", "switched on", {request_to(devid, {{0, 1}, {8, 1}})}},
        {"devid cache-size 10",
         devid,
         "the cache of the devices",
         "limited to 10 MB",
         {request_to(devid, {{0, 4}, {16, 10}})}},
        {"devid flush --yes", devid, "the cache of the devices", "flushed", {request_to(devid, {{0, 5}})}},
        {"devid debug on",
         devid,
         "debugging of device identification",
         "switched on",
         {request_to(devid, {{0, 7}, {4, 1}})}},
        {"devid show-kernel-list", devid, "the kernel-side list", "shown by the daemon", {request_to(devid, {{0, 8}})}},
        {"devid reset --yes", devid, "device identification", "reset", {request_to(devid, {{0, 9}})}},
        {"devid ignore interface-12345 1",
         devid,
         "ignore operation 1",
         "carried out on interface interface-12345",
         {request_to(devid, {{0, 10}, {20, 1}}, 201, "interface-12345")}},

        {"av switch on", av, "the anti-virus engine", "switched on", {request_to(av, {{0, 0}, {4, 1}})}},
        {"av cache-size 10", av, "the scan cache", "limited to 10", {request_to(av, {{0, 4}, {16, 10}})}},
        {"av set-whitelist 275a021bbfb6489e54d471899f7db9d1 1",
         av,
         "275a021bbfb6489e54d471899f7db9d1",
         "set in the whitelist with operation 1",
         {request_to(av, {{0, 6}, {88, 1}}, 20, "275a021bbfb6489e54d471899f7db9d1")}},
        {"av debug on", av, "debugging of the anti-virus engine", "switched on", {request_to(av, {{0, 8}, {4, 1}})}},
        {"av reset --yes", av, "the anti-virus engine", "reset", {request_to(av, {{0, 9}})}},
        {"av flush --yes", av, "the anti-virus engine", "flushed", {request_to(av, {{0, 10}})}},

        {"ir switch on", ir, "the IR engine", "switched on", {request_to(ir, {{0, 0}})}},
        {"ir switch off", ir, "the IR engine", "switched off", {request_to(ir, {{0, 1}})}},
        {"ir update-frequency 4294967295",
         ir,
         "the frequency of update checks",
         "set to 4294967295",
         {request_to(ir, {{0, 2}, {4, 4294967295}})}},
        {"ir max-size -5", ir, "the IR database", "limited to -5 MB", {request_to(ir, {{0, 3}, {4, minus_one - 4}})}},
        {"ir debug on", ir, "debugging of the IR engine", "switched on", {request_to(ir, {{0, 6}})}},
        {"ir debug off", ir, "debugging of the IR engine", "switched off", {request_to(ir, {{0, 7}})}},
        {"ir set-whitelist 0xc0a80107 443 0",
         ir,
         "entry 0xc0a80107 443",
         "set in the whitelist with operation 0",
         {request_to(ir, {{0, 8}, {4, 0xc0a80107}, {8, 443}})}},
        {"ir set-whitelist 1 65535 1",
         ir,
         "entry 1 65535",
         "set in the whitelist with operation 1",
         {request_to(ir, {{0, 9}, {4, 1}, {8, 65535}})}},
        {"ir set-blacklist 7 0 0",
         ir,
         "entry 7 0",
         "set in the blacklist with operation 0",
         {request_to(ir, {{0, 13}, {4, 7}, {8, 0}})}},
        {"ir set-blacklist 7 1 1",
         ir,
         "entry 7 1",
         "set in the blacklist with operation 1",
         {request_to(ir, {{0, 14}, {4, 7}, {8, 1}})}},
        {"ir threat-category 8", ir, "the threat category", "set to 8", {request_to(ir, {{0, 12}, {4, 8}})}},
        {"ir load /var/lib/utm/1.db",
         ir,
         "the database file /var/lib/utm/1.db",
         "loaded",
         {request_to(ir, {{0, 18}}, 4, path)}},
        {"ir flush 0 --yes",
         ir,
         "the IR database",
         "flushed with mode 0",
         {request_to(ir, {{0, 11}}) + request_to(ir, {{0, 15}})}},
        {"ir flush 1 --yes", ir, "the IR database", "flushed with mode 1", {request_to(ir, {{0, 11}})}},
        {"ir flush 2 --yes", ir, "the IR database", "flushed with mode 2", {request_to(ir, {{0, 15}})}},
        {"ir reset --yes",
         ir,
         "the IR engine",
         "flushed and switched off",
         {request_to(ir, {{0, 11}}) + request_to(ir, {{0, 15}}), request_to(ir, {{0, 1}})}},
    };
    return all;
}

class engine_deed : public testing::TestWithParam<deed_case> {
protected:
    bool tells_answer() const { return &GetParam().to != &ir; }

    // The command fails so, as text and as JSON.
    void expect_failure(const engine_failure& how, const std::string& with_answer = "",
                        const nlohmann::json& answer = nullptr) const
    {
        const deed_case& one = GetParam();
        const bool was_sent = how.status == overdue.status;
        const std::string verb = was_sent ? " may have been " : " was not ";
        const std::string message = one.subject + verb + one.participle + ": " + one.to.name + " " + how.cause +
                                    with_answer + "; " + next_after(how, one.to);
        EXPECT_EQ(utmctl(std::string(how.options) + one.line), refused(how.status, message + "\n")) << how.name;

        const run_result in_json = utmctl(std::string("-j ") + how.options + one.line);
        const auto value = nlohmann::json::parse(in_json.out);
        EXPECT_EQ(in_json.status, how.status);
        EXPECT_EQ(value["status"], how.word);
        EXPECT_EQ(value["exit"], how.status);
        EXPECT_EQ(value["errors"][0]["message"], message);
        EXPECT_EQ(value["errors"][0]["culprits"][0]["path"], one.to.path);
        const nlohmann::json result = {{"answer", answer}};
        EXPECT_EQ(value["result"], tells_answer() && !was_sent ? result : nlohmann::json());
    }
};

TEST_P(engine_deed, is_done)
{
    const deed_case& one = GetParam();
    const engine_daemon daemon(one.to, answer_with(reply_of(one.to, 0)));
    EXPECT_EQ(utmctl(one.line), (run_result{0, std::string(one.subject) + " " + one.participle + "\n", ""}));
    EXPECT_EQ(daemon.requests(), one.sent);
    EXPECT_EQ(utmctl(std::string("-q ") + one.line), (run_result{0, "", ""}));
    const std::string result = tells_answer() ? R"({"answer":0})" : "null";
    EXPECT_EQ(utmctl(std::string("-j ") + one.line), (run_result{0, done_line(command_of(one.line), result), ""}));
}

TEST_P(engine_deed, fails)
{
    const engine& to = GetParam().to;
    expect_failure(absent_daemon);
    {
        const engine_daemon daemon(to, answer_with(reply_of(to, minus_one)));
        expect_failure(refusal, tells_answer() ? " with result -1" : "", -1);
    }
    {
        const engine_daemon daemon(to, sim::script{sim::receive()});
        expect_failure(closed);
    }
    {
        const engine_daemon daemon(to, send_records({sim::bytes(to.reply_size - 1)}));
        expect_failure(short_reply);
    }
    const engine_daemon daemon(to, sim::script{sim::await_close()});
    expect_failure(overdue);
}

INSTANTIATE_TEST_SUITE_P(utmctl, engine_deed, testing::ValuesIn(deeds()));

TEST(engine_deeds, any_other_number_is_a_refusal_of_ips_and_av)
{
    const engine_daemon ips_daemon(ips, answer_with(reply_of(ips, 5)));
    const engine_daemon av_daemon(av, answer_with(reply_of(av, 6)));
    EXPECT_EQ(utmctl("ips reset --yes"), refused(1, "the IPS engine was not reset: the IPS daemon (/tmp/utm_ips) "
                                                    "refused with result 5; the daemon's own log tells the reason\n"));
    EXPECT_EQ(utmctl("av flush --yes").status, 1);
    EXPECT_EQ(told_by("av flush --yes")["result"]["answer"], 6);
}

// The device-identification daemon says yes with other numbers than 0 to some operations.
TEST(engine_deeds, some_answers_of_devid_are_no_refusal)
{
    const engine_daemon daemon(devid, answer_with(reply_of(devid, 1)));
    for (const char* line : {"devid cache-size 1", "devid flush --yes", "devid debug off", "devid show-kernel-list"}) {
        EXPECT_EQ(utmctl(line).status, 0) << line;
        EXPECT_EQ(result_of(line)["answer"], 1) << line;
    }
    for (const char* line : {"devid switch on", "devid reset --yes", "devid ignore eth1 0"})
        EXPECT_EQ(utmctl(line).status, 1) << line;
}

// Takes connections, but no request.
int deaf_listener(const char* path)
{
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    strcpy(address.sun_path, path);
    EXPECT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(listener, 8), 0);
    return listener;
}

TEST(engine_deeds, whether_a_daemon_that_does_not_answer_is_stopped_is_looked_up_once)
{
    const int listener = deaf_listener(devid.path);
    EXPECT_EQ(utmctl("devid switch on"),
              refused(3, "device identification was not switched on: " + std::string(devid.name) +
                             " did not answer in time; find out why the device-identification daemon hangs, or start "
                             "it again, then run the command again\n"));
    int connections = 0;
    for (int client; (client = accept(listener, nullptr, nullptr)) >= 0; ++connections)
        close(client);
    EXPECT_EQ(connections, 2) << "that of the library, and that of the look";
    close(listener);
}

TEST(engine_deeds, what_is_lost_wants_yes)
{
    const engine_daemon daemon(ips, answer_with(reply_of(ips, 0)));
    EXPECT_EQ(utmctl("ips flush 0"), refused(9, "ips flush was not carried out: it destroys what the mode stands for; "
                                                "add --yes if that is what you want\n"));
    for (const char* line :
         {"ips reset", "devid flush", "devid reset", "av reset", "av flush", "ir reset", "ir flush 0"})
        EXPECT_EQ(utmctl(line).status, 9) << line;
    EXPECT_TRUE(daemon.requests().empty());
}

// The IR client takes descriptor 0 for a failed connection.
TEST(engine_deeds, a_closed_standard_input_is_no_failure)
{
    const engine_daemon daemon(ir, answer_with(reply_of(ir, 0)));
    const int kept = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
    close(STDIN_FILENO);
    const run_result result = utmctl("ir switch on");
    dup2(kept, STDIN_FILENO);
    close(kept);
    EXPECT_EQ(result, (run_result{0, "the IR engine switched on\n", ""}));
}

// The daemon, which opens it, works in a folder of its own.
TEST(engine_deeds, a_path_is_completed_by_the_working_folder)
{
    const std::string path = std::filesystem::current_path() / "1.db";
    const engine_daemon daemon(ir, answer_with(reply_of(ir, 0)));
    EXPECT_EQ(utmctl("ir load 1.db").status, 0);
    EXPECT_EQ(daemon.requests(), (requests{request_to(ir, {{0, 18}}, 4, path)}));
}

struct bad_line {
    std::string line;
    std::string wrong;
};

const bad_line bad_lines[] = {
    {"ips switch 1", "STATE: '1' is not a state: on or off"},
    {"ips flush 3 --yes", "MODE: '3' is not a whole number from 0 to 2"},
    {"ips set-whitelist 12345678901 0", "RULE: '12345678901' is longer than 10 characters"},
    {"ips set-blacklist 1 2", "ACTION: '2' is not a whole number from 0 to 1"},
    {"ir load /" + std::string(127, 'p'), "PATH: '/" + std::string(127, 'p') + "' is longer than 127 characters"},
    {"ips update-signature /tmp/", "PATH: '/tmp/' is not the path of a file"},
    {"devid cache-size 0", "MB: '0' is not a whole number from 1 to 10"},
    {"devid cache-size 11", "MB: '11' is not a whole number from 1 to 10"},
    {"devid ignore interface-123456 0", "INTERFACE: 'interface-123456' is longer than 15 characters"},
    {"devid devices --ip 1.2.3", "--ip: '1.2.3' is not an IP address such as 192.168.1.7"},
    {"devid devices --mac 02", "--mac: '02' is not a MAC address such as 02:42:ac:11:00:05"},
    {"av cache-size 11", "LIMIT: '11' is not a whole number from 0 to 10"},
    {"av set-whitelist 275a021bbfb6489e54d471899f7db9d1x 0",
     "ENTRY: '275a021bbfb6489e54d471899f7db9d1x' is longer than 32 characters"},
    {"ir max-size 0", "MB: '0' is not a size"},
    {"ir threat-category 4294967296", "VALUE: '4294967296' is not a whole number from 0 to 4294967295"},
    {"ir set-whitelist 1 65536 0", "SECOND: '65536' is not a whole number from 0 to 65535"},
    {"ir set-whitelist 0x-1 1 0", "VALUE: '0x-1' is not a whole number from 0 to 4294967295"},
};

TEST(engine_deeds, bad_arguments_are_refused_before_anything_is_sent)
{
    for (const bad_line& one : bad_lines) {
        const std::string words = command_of(one.line);
        EXPECT_EQ(utmctl(one.line),
                  refused(2, words + ": " + one.wrong + "; 'utmctl help " + words + "' tells what it takes\n"));
    }
    EXPECT_EQ(utmctl("devid devices --ip 1.2.3.4 --mac 02:42:ac:11:00:05"),
              refused(2, "devid devices: the daemon takes one filter at a time; give one of --ip, --interface and "
                         "--mac, or none\n"));
}

} // namespace
