#include "tests/sandbox/files.h"
#include "tests/utmctl/run.h"

#include "kqutm/common.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

// The diagnostic logs as utmctl shows them.

namespace {

constexpr char config[] = "/tmp/utm_log/utm_libappcf_config_log";
constexpr char ips[] = "/tmp/utm_log/utm_libips_log";
constexpr char devid[] = "/tmp/utm_log/utm_libdevid_log";
constexpr char common[] = "/tmp/utm_log/utm_libkqutm_common_log";

void write_log(const std::string& path, const std::string& text)
{
    std::filesystem::create_directories("/tmp/utm_log");
    write_file(path, text);
}

void append(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::app) << text;
}

TEST(logs, both_generations_are_shown_in_order)
{
    write_log(ips + std::string("2"), "connect_ips(57) setsockopt fail\n");
    write_log(ips, "connect_ips(61) connect failed. Error\nutm_ips_flush(90) flush fail\n");
    EXPECT_EQ(utmctl("log ips"), (run_result{0,
                                             "ips: connect_ips(57) setsockopt fail\n"
                                             "ips: connect_ips(61) connect failed. Error\n"
                                             "ips: utm_ips_flush(90) flush fail\n",
                                             ""}));
    EXPECT_EQ(utmctl("log ips --lines 2"), (run_result{0,
                                                       "ips: connect_ips(61) connect failed. Error\n"
                                                       "ips: utm_ips_flush(90) flush fail\n",
                                                       ""}));
    EXPECT_EQ(utmctl("log --lines 0 ips"), (run_result{0, "", ""}));
}

TEST(logs, the_log_written_to_last_comes_last)
{
    const auto write_at = [](const std::string& path, const std::string& text, int hours) {
        write_log(path, text);
        std::filesystem::last_write_time(path,
                                         std::filesystem::file_time_type::clock::now() - std::chrono::hours(hours));
    };
    write_at(config, "size error\n", 2);
    write_at(ips, "one\n", 4);
    write_at(devid, "two\n", 1);
    write_at(common, "three\n", 3);
    EXPECT_EQ(utmctl("log"), (run_result{0, "ips: one\ncommon: three\nconfig: size error\ndevid: two\n", ""}));
}

TEST(logs, trace_messages_are_told_apart)
{
    write_log(config, "[send_utm_config_event]error code = 3\n"
                      "response->cf.domain_browse->domain: a.example"
                      "response->cf.domain_browse->domain: b.example"
                      "[send_utm_event_and_get_response]read response fail\n"
                      "response->app.app_usage_prev_days.app_id: 12"
                      "response->app.app_usage_prev_days.app_id: 13"
                      "utm_user_profile_create fail\n"
                      "response->cf.domain_browse->domain: c.example"
                      "attach_utm_id_data_shm() fail\n"
                      "response->cf.domain_browse->domain: d.example");
    EXPECT_EQ(utmctl("log config"), (run_result{0,
                                                "config: [send_utm_config_event]error code = 3\n"
                                                "config: response->cf.domain_browse->domain: a.example\n"
                                                "config: response->cf.domain_browse->domain: b.example\n"
                                                "config: [send_utm_event_and_get_response]read response fail\n"
                                                "config: response->app.app_usage_prev_days.app_id: 12\n"
                                                "config: response->app.app_usage_prev_days.app_id: 13\n"
                                                "config: utm_user_profile_create fail\n"
                                                "config: response->cf.domain_browse->domain: c.example\n"
                                                "config: attach_utm_id_data_shm() fail\n"
                                                "config: response->cf.domain_browse->domain: d.example\n",
                                                ""}));
}

TEST(logs, brackets_in_a_traced_text_end_no_message)
{
    write_log(config, "response->cf.domain_browse->domain: a[b]c.example"
                      "response->cf.domain_browse->domain: [.exampleutm_cf_.example"
                      "response->cf.domain_browse->domain: d]e.example"
                      "[send_utm_config_event]error code = 3\n");
    const auto result = result_of("log config");
    std::vector<std::pair<std::string, nlohmann::json>> messages;
    for (const auto& entry : result["entries"])
        messages.emplace_back(entry["text"], entry["function"]);
    EXPECT_EQ(messages, (decltype(messages){{"response->cf.domain_browse->domain: a[b]c.example", nullptr},
                                            {"response->cf.domain_browse->domain: [.example", nullptr},
                                            {"utm_cf_.example", nullptr},
                                            {"response->cf.domain_browse->domain: d]e.example", nullptr},
                                            {"[send_utm_config_event]error code = 3", "send_utm_config_event"}}));
}

struct escaped_text {
    std::string written;
    std::string shown;
};

const escaped_text escaped_texts[] = {
    {"\x9b[31m", "\\x9b[31m"},          // a control character of eight bits
    {"\xc2\x9b[31m", "\\xc2\\x9b[31m"}, // the same in UTF-8
    {"a\xe2\x80\xae"
     "b",
     "a\\xe2\\x80\\xaeb"}, // an override of the direction
    {"a\xe2\x81\xa6"
     "b",
     "a\\xe2\\x81\\xa6b"},                        // an isolate
    {"caf\xe9", "caf\\xe9"},                      // no UTF-8
    {"\xc1\xbf", "\\xc1\\xbf"},                   // longer than it needs to be
    {"\xed\xa0\x80", "\\xed\\xa0\\x80"},          // half of a pair
    {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"}, // above the last character
    {"\xe2\x82", "\\xe2\\x82"},                   // cut
    {"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80", "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80"},
};

TEST(logs, what_a_terminal_would_obey_is_escaped)
{
    std::string written;
    std::string shown;
    for (const escaped_text& one : escaped_texts) {
        written += one.written + "\n";
        shown += "ips: " + one.shown + "\n";
    }
    write_log(ips, written);
    EXPECT_EQ(utmctl("log ips"), (run_result{0, shown, ""}));
}

TEST(logs, control_characters_are_escaped)
{
    write_log(config, "response->cf.domain_browse->domain: \x1b[31mred\x07\r\n");
    EXPECT_EQ(utmctl("log config").out, "config: response->cf.domain_browse->domain: \\x1b[31mred\\x07\\x0d\n");
}

TEST(logs, json_tells_function_and_line)
{
    write_log(ips, "connect_ips(61) connect failed. Error\nReach maximum\nconnect_ips(x) y\n");
    write_log(config, "[send_utm_config_event]error code = 3\nadd mac to user profile(app) fail(id = 7)\n");
    const auto entry = [](const char* family, const char* function, const char* line, const char* text) {
        return R"({"time":null,"family":")" + std::string(family) + R"(","function":)" + function + R"(,"line":)" +
               line + R"(,"text":")" + text + "\"}";
    };
    EXPECT_EQ(utmctl("-jq log ips"),
              (run_result{
                  0,
                  done_line("log", R"({"entries":[)" +
                                       entry("ips", "\"connect_ips\"", "61", "connect_ips(61) connect failed. Error") +
                                       "," + entry("ips", "null", "null", "Reach maximum") + "," +
                                       entry("ips", "null", "null", "connect_ips(x) y") + R"(],"missing":[]})"),
                  ""}));
    EXPECT_EQ(
        utmctl("-j log config"),
        (run_result{0,
                    done_line("log", R"({"entries":[)" +
                                         entry("config", "\"send_utm_config_event\"", "null",
                                               "[send_utm_config_event]error code = 3") +
                                         "," +
                                         entry("config", "null", "null", "add mac to user profile(app) fail(id = 7)") +
                                         R"(],"missing":[]})"),
                    ""}));
}

TEST(logs, what_the_library_writes_is_understood)
{
    EXPECT_EQ(utmctl("ips switch on").status, 4);
    const auto entry = result_of("log ips")["entries"].at(0);
    EXPECT_EQ(entry["function"], "connect_ips");
    EXPECT_EQ(entry["text"], "connect_ips(" + std::to_string(entry["line"].get<int>()) + ") connect failed. Error");
}

TEST(logs, a_missing_log_is_told_and_no_failure)
{
    const std::string notice =
        "utmctl: there is no log of devid (/tmp/utm_log/utm_libdevid_log): nothing was written to it yet\n";
    EXPECT_EQ(utmctl("log devid"), (run_result{0, "", notice}));
    EXPECT_EQ(utmctl("-j log devid"),
              (run_result{0, done_line("log", R"({"entries":[],"missing":["devid"]})"), notice}));
    EXPECT_EQ(utmctl("-q log devid"), (run_result{0, "", ""}));
    write_log(devid + std::string("2"), "older\n");
    EXPECT_EQ(utmctl("log devid"), (run_result{0, "devid: older\n", ""}));
}

TEST(logs, what_cannot_be_read_is_told)
{
    write_log(ips + std::string("2"), "older\n");
    std::filesystem::create_directory(ips);
    EXPECT_EQ(
        utmctl("log ips"),
        (run_result{8, "ips: older\n",
                    "utmctl: the log of ips was not shown whole: the file (/tmp/utm_log/utm_libips_log) is no file; "
                    "make it a file that can be read, or run the command as its owner\n"}));
}

TEST(logs, a_file_in_place_of_their_folder_is_told_once)
{
    write_file("/tmp/utm_log", "");
    const char told[] = "the logs were not shown: the log folder (/tmp/utm_log) is no folder; 'utmctl doctor' tells "
                        "what to do about it\n";
    EXPECT_EQ(utmctl("log"), refused(8, told));
    EXPECT_EQ(utmctl("log devid -f"), refused(8, told));
}

TEST(logs, an_unknown_family_is_refused)
{
    EXPECT_EQ(utmctl("log av"), refused(2, "log: FAMILY: 'av' has no log; these have one: config, ips, devid, common; "
                                           "profile, cf, app and registry write to config, uuid to common, av and ir "
                                           "to none; 'utmctl help log' tells what it takes\n"));
}

TEST(logs, a_message_that_repeats_stands_once)
{
    write_log(ips, "one\none\ntwo\none\n");
    EXPECT_EQ(utmctl("log ips").out, "ips: one (2 times)\nips: two\nips: one\n");
    EXPECT_EQ(utmctl("log ips --lines 3").out, "ips: one\nips: two\nips: one\n");
    EXPECT_EQ(result_of("log ips")["entries"].size(), 4U);
}

TEST(logs, those_without_messages_are_told_in_one_line)
{
    write_log(ips, "one\n");
    EXPECT_EQ(utmctl("log"), (run_result{0, "ips: one\n", "utmctl: no messages yet: config, devid, common\n"}));
}

TEST(logs, following_goes_on_over_a_rotation)
{
    write_log(ips, "1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n");
    const captured out;
    running_utmctl log("log ips -f", out.fd());
    std::string shown;
    for (int number = 2; number <= 11; ++number)
        shown += "ips: " + std::to_string(number) + "\n";
    EXPECT_EQ(out.lines(10), shown);
    append(ips, "12\n");
    shown += "ips: 12\n";
    EXPECT_EQ(out.lines(11), shown);
    append(ips, "13\n");
    std::filesystem::rename(ips, ips + std::string("2"));
    append(ips, "14\n");
    shown += "ips: 13\nips: 14\n";
    EXPECT_EQ(out.lines(13), shown);
    kill(log.process(), SIGINT);
    EXPECT_EQ(log.wait(), (run_result{0, "", ""}));
    EXPECT_EQ(out.text(), shown);
}

TEST(logs, following_shows_the_log_written_to_last_last)
{
    write_log(ips, "");
    write_log(devid, "");
    const captured out;
    running_utmctl log("log -q -f", out.fd());
    append(devid, "1\n");
    EXPECT_EQ(out.lines(1), "devid: 1\n");
    kill(log.process(), SIGSTOP);
    waitpid(log.process(), nullptr, WUNTRACED);
    append(devid, "2\n");
    append(ips, "3\n");
    std::filesystem::last_write_time(ips, std::filesystem::last_write_time(devid) + std::chrono::seconds(1));
    kill(log.process(), SIGCONT);
    EXPECT_EQ(out.lines(3), "devid: 1\ndevid: 2\nips: 3\n");
    kill(log.process(), SIGINT);
    EXPECT_EQ(log.wait(), (run_result{0, "", ""}));
}

TEST(logs, following_explains_nothing)
{
    EXPECT_EQ(utmctl("--explain log -f"),
              refused(2, "log -f: --explain has nothing to tell: following logs nothing itself; 'utmctl explain TEXT' "
                         "explains a message\n"));
}

TEST(logs, following_waits_for_a_log_that_is_not_there_yet)
{
    const captured out;
    running_utmctl log("--json=pretty log -f", out.fd());
    while (kill(log.process(), 0) == 0 && out.text().empty()) {
        utm_log(UTM_COMMON_LOG, "size error\n");
        usleep(1000);
    }
    const auto entry = nlohmann::json::parse(out.text().substr(0, out.text().find('\n')));
    EXPECT_EQ(entry["family"], "common");
    EXPECT_EQ(entry["text"], "size error");
    kill(log.process(), SIGTERM);
    const run_result result = log.wait();
    EXPECT_EQ(result.status, 0);
}

} // namespace
