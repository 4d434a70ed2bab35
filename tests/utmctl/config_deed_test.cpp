#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/profile_texts.h"
#include "tests/utmctl/records.h"
#include "tests/utmctl/run.h"
#include "tests/utmctl/stopped_daemon.h"

#include <gtest/gtest.h>

// The commands that are one exchange with the content-filter or the application daemon.

namespace {

const char* name_of(const std::string& daemon)
{
    return daemon == cf_path ? "the content-filter daemon" : "the application daemon";
}

struct change_case {
    const char* line;
    const char* daemon;
    uint8_t code;
    sim::bytes body;
    const char* subject;
    const char* participle;
    const char* result;
};

std::ostream& operator<<(std::ostream& stream, const change_case& one)
{
    return stream << one.line;
}

const change_case changes[] = {
    {"profile set-daily-limit-enable 7 on", app_path, 26, words_body({7, 0, 1}), "the daily-limit switch of profile 7",
     "set to on", R"({"id":7,"switch":1})"},
    {"profile set-daily-limit 7 -1", app_path, 28, words_body({7, 0, 0, UINT32_MAX}), "the daily limit of profile 7",
     "set to -1", R"({"id":7,"limit":-1})"},
    {"profile set-weekday-limit 7 9 0x3c", app_path, 30, words_body({7, 9, 0, 60}),
     "the limit of profile 7 on weekday 9", "set to 0x3c", R"({"id":7,"weekday":9,"limit":60})"},
    {"profile set-extension 7 30", app_path, 32, words_body({7, 0, 0, 0, 30}), "the extension of profile 7",
     "set to 30", R"({"id":7,"extension":30})"},
    {"profile reset-extension 7", app_path, 34, words_body({7}), "the extension of profile 7", "taken back",
     R"({"id":7})"},
    {"cf debug 5", cf_path, 22, words_body({5}), "the content filter's debug value", "set to 5", R"({"value":5})"},
    {"cf flush 3 --yes", cf_path, 23, words_body({3}), "the content filter", "flushed with type 3", R"({"type":3})"},
    {"cf flush-policy 3 0 --yes", cf_path, 24, words_body({0, 3}), "policy 0, whatever the daemon takes that for,",
     "flushed with type 3", R"({"type":3,"policy":0})"},
    {"cf flush-policy 3 70 --yes", cf_path, 24, words_body({70, 3}), "content-filter policy 70", "flushed with type 3",
     R"({"type":3,"policy":70})"},
    {"app activate off", app_path, 39, words_body({0}), "application control", "set to off", R"({"switch":0})"},
    {"app activate 5", app_path, 39, words_body({5}), "application control", "set to 5", R"({"switch":5})"},
    {"app debug 1", app_path, 41, words_body({1}), "application control's debug value", "set to 1", R"({"value":1})"},
    {"app set-export-interval 60", app_path, 49, words_body({60}), "the export interval", "set to 60",
     R"({"interval":60})"},
    {"app update-signature /tmp/new.sig", app_path, 46, text_body({}, "/tmp/new.sig"),
     "the signature file /tmp/new.sig", "taken over", R"({"file":"/tmp/new.sig"})"},
    {"app import-statistics", app_path, 50, text_body({}, "/tmp/ApplicationData/app_usage.json"), "the statistics file",
     "imported", "{}"},
    {"app export-statistics /tmp/a/../s.json", app_path, 51, text_body({}, "/tmp/s.json"), "the statistics file",
     "written", R"({"file":"/tmp/a/../s.json"})"},
    {"app clear-entries 80 --yes", app_path, 44, words_body({80}), "application policy 80", "emptied",
     R"({"policy":80})"},
};

class config_change : public testing::TestWithParam<change_case> {
protected:
    config_change() { register_ids({{0, 7}, {512, 70}}); }
};

TEST_P(config_change, is_sent_and_told)
{
    const change_case& one = GetParam();
    const config_daemons daemons;
    EXPECT_EQ(utmctl(one.line), (run_result{0, std::string(one.subject) + " " + one.participle + "\n", ""}));
    ASSERT_EQ(daemons.told(), std::vector<std::string>{one.daemon});
    EXPECT_EQ(daemons.request_of(one.daemon), request_record(one.daemon, one.code, one.body));
    EXPECT_EQ(utmctl(std::string("-j ") + one.line), (run_result{0, done_line(command_of(one.line), one.result), ""}));
}

TEST_P(config_change, that_is_refused_tells_the_daemons_code)
{
    const change_case& one = GetParam();
    const config_daemons daemons({.cf = 3, .app = 3});
    EXPECT_EQ(utmctl(one.line),
              refused(1, std::string(one.subject) + " was not " + one.participle + ": " + name_of(one.daemon) + " (" +
                             one.daemon + ") refused with error code 3; the daemon's own log tells the reason\n"));
}

INSTANTIATE_TEST_SUITE_P(utmctl, config_change, testing::ValuesIn(changes));

struct reading_case {
    const char* line;
    const char* daemon;
    uint8_t code;
    words body;
    records replies;
    const char* subject;
    const char* shown;
    const char* result;
};

std::ostream& operator<<(std::ostream& stream, const reading_case& one)
{
    return stream << one.line;
}

// A reply with numbers from an offset on.
sim::bytes reply_with(uint8_t status, size_t offset, const words& values)
{
    sim::bytes record = reply(status);
    for (const uint32_t value : values)
        put_u32(record, std::exchange(offset, offset + 4), value);
    return record;
}

sim::bytes day_entry(uint32_t app)
{
    sim::bytes record = reply_with(2, 80, {app});
    std::fill(record.begin() + 84, record.begin() + 208, 0);
    record[84] = 0xfe;
    record[207] = 0x01;
    return record;
}

sim::bytes domain_entry(const std::string& domain, uint32_t value)
{
    sim::bytes record = reply_with(2, 800, {value});
    put_text(record, 288, domain.size() < 512 ? domain + '\0' : domain);
    return record;
}

const std::string figures = "fe" + std::string(244, '0') + "01";
const std::string days_shown = "APP FIGURES\n  9 " + figures + "\n";
const std::string days_result = R"([{"app":9,"figures":")" + figures + R"("}])";
const std::string longest_domain(512, 'd');

const reading_case readings[] = {
    {"profile get-daily-limit-enable 7",
     app_path,
     27,
     {7},
     {reply_with(0, 224, {1})},
     "the daily-limit switch of profile 7",
     "1\n",
     R"({"id":7,"switch":1})"},
    {"profile get-daily-limit 7",
     app_path,
     29,
     {7},
     {reply_with(0, 228, {4294967295})},
     "the daily limit of profile 7",
     "4294967295\n",
     R"({"id":7,"limit":4294967295})"},
    {"profile get-extension 7",
     app_path,
     33,
     {7},
     {reply_with(0, 232, {30})},
     "the extension of profile 7",
     "30\n",
     R"({"id":7,"extension":30})"},
    {"profile usage 7",
     app_path,
     35,
     {7},
     {reply_with(0, 16, {10, 2, 300})},
     "the usage of profile 7",
     "FIRST SECOND THIRD\n   10      2   300\n",
     R"({"id":7,"first":10,"second":2,"third":300})"},
    {"profile get-weekday-limits 7",
     app_path,
     31,
     {7},
     {reply_with(2, 264, {1, 60}), reply_with(2, 264, {2, 90}), reply(0)},
     "the list of weekday limits of profile 7",
     "FIRST SECOND\n    1     60\n    2     90\n",
     R"([{"first":1,"second":60},{"first":2,"second":90}])"},
    {"profile app-usage 7 4294967295",
     app_path,
     36,
     {7, 4294967295},
     {reply_with(2, 48, {5, 6}), reply(0)},
     "the application usage of profile 7",
     "FIRST SECOND\n    5      6\n",
     R"([{"first":5,"second":6}])"},
    {"profile app-usage 7",
     app_path,
     36,
     {7, 0},
     {reply(0)},
     "the application usage of profile 7",
     "FIRST SECOND\n",
     "[]"},
    {"profile app-usage-days 7 3",
     app_path,
     37,
     {7, 3},
     {day_entry(9), reply(0)},
     "the application usage of profile 7 on earlier days",
     days_shown.c_str(),
     days_result.c_str()},
    {"profile domains 7",
     cf_path,
     25,
     {7},
     {domain_entry("example.org", 4), reply(0)},
     "the list of browsed domains of profile 7",
     "DOMAIN      VALUE\nexample.org     4\n",
     R"([{"domain":"example.org","value":4}])"},
    {"app status",
     app_path,
     47,
     {},
     {reply_with(0, 236, {1, 2, 3})},
     "the status of application control",
     "FIRST SECOND THIRD\n    1      2     3\n",
     R"({"first":1,"second":2,"third":3})"},
    {"app get-export-interval",
     app_path,
     48,
     {},
     {reply_with(0, 280, {60})},
     "the export interval",
     "60\n",
     R"({"interval":60})"},
};

class config_reading : public testing::TestWithParam<reading_case> {};

TEST_P(config_reading, is_asked_for_and_shown)
{
    const reading_case& one = GetParam();
    const sim::scripted_daemon daemon(one.daemon, answer(one.replies));
    EXPECT_EQ(utmctl(one.line), (run_result{0, one.shown, ""}));
    EXPECT_EQ(daemon.requests(), records{request_record(one.daemon, one.code, words_body(one.body))});
    EXPECT_EQ(utmctl(std::string("-j ") + one.line), (run_result{0, done_line(command_of(one.line), one.result), ""}));
}

TEST_P(config_reading, that_is_refused_tells_the_daemons_code)
{
    const reading_case& one = GetParam();
    const sim::scripted_daemon daemon(one.daemon, answer(4));
    EXPECT_EQ(utmctl(one.line),
              refused(1, std::string(one.subject) + " was not read: " + name_of(one.daemon) + " (" + one.daemon +
                             ") refused with error code 4; the daemon's own log tells the reason\n"));
}

TEST_P(config_reading, without_its_daemon)
{
    const reading_case& one = GetParam();
    EXPECT_EQ(utmctl(one.line), refused(4, std::string(one.subject) + " was not read: " +
                                               (one.daemon == std::string(cf_path) ? cf_missing : app_missing) +
                                               "; start " + name_of(one.daemon) + ", then run the command again\n"));
}

INSTANTIATE_TEST_SUITE_P(utmctl, config_reading, testing::ValuesIn(readings));

TEST(config_deed, a_stream_that_breaks_off_is_a_protocol_error)
{
    const sim::scripted_daemon app(app_path, answer(records{day_entry(9)}));
    EXPECT_EQ(utmctl("profile app-usage-days 7"),
              refused(7, "the application usage of profile 7 on earlier days was not read: the application daemon "
                         "(/dev/utm_app_config_socket) ended the connection or answered with a record of the wrong "
                         "size; find out why the application daemon breaks off, or start it again, then run the "
                         "command again\n"));
}

TEST(config_deed, a_daemon_that_does_not_answer_a_reading)
{
    const sim::scripted_daemon cf(cf_path, sim::script{sim::receive(), sim::await_close()});
    EXPECT_EQ(
        utmctl("profile domains 7"),
        refused(3, "the list of browsed domains of profile 7 was not read: the content-filter daemon "
                   "(/dev/utm_cf_config_socket) did not answer in time; find out why the content-filter daemon hangs, "
                   "or start it again, then run the command again\n"));
}

TEST(config_deed, a_daemon_that_is_stopped_is_continued)
{
    const stopped_daemon app(app_path);
    const std::string number = std::to_string(app.process());
    EXPECT_EQ(utmctl("--timeout 0.1 app activate on"),
              refused(3, "application control may have been set to on: the application daemon "
                         "(/dev/utm_app_config_socket) did not answer within 0.1 s: process " +
                             number + " (test_utmctl) is stopped; continue it with 'kill -CONT " + number + "'\n"));
}

TEST(config_deed, a_daemon_that_is_stopped_does_not_hide_what_the_registry_may_hold)
{
    const stopped_daemon app(app_path);
    const std::string number = std::to_string(app.process());
    EXPECT_EQ(utmctl("--timeout 0.1 app create-policy 77").err,
              "utmctl: application policy 77 may have been created: the application daemon "
              "(/dev/utm_app_config_socket) did not answer within 0.1 s: process " +
                  number + " (test_utmctl) is stopped; continue it with 'kill -CONT " + number +
                  "'; 'utmctl registry show' tells what the registry holds, and --timeout sets a longer limit\n");
}

TEST(config_deed, a_daemon_that_is_stopped_is_named_when_the_library_gives_up)
{
    const stopped_daemon app(app_path);
    const std::string number = std::to_string(app.process());
    EXPECT_EQ(utmctl("app status"), refused(3, "the status of application control was not read: the application daemon "
                                               "(/dev/utm_app_config_socket) did not answer in time: process " +
                                                   number + " (test_utmctl) is stopped; continue it with 'kill -CONT " +
                                                   number + "', then run the command again\n"));
}

TEST(config_deed, a_daemon_whose_socket_is_closed_to_a_user)
{
    const sim::scripted_daemon app(app_path, answer(0));
    chmod(app_path, 0700);
    const run_result closed =
        refused(4, "the status of application control was not read: the application daemon "
                   "(/dev/utm_app_config_socket) cannot be reached: Permission denied; run the command as root to "
                   "reach the application daemon\n");
    EXPECT_EQ(utmctl_of_another_user("app status").value_or(closed), closed);
}

TEST(config_deed, the_deadline_names_the_daemon)
{
    const sim::scripted_daemon app(app_path, sim::script{sim::receive(), sim::await_close()});
    EXPECT_EQ(utmctl("--timeout 0.3 app activate on"),
              refused(3, "application control may have been set to on: the application daemon "
                         "(/dev/utm_app_config_socket) did not answer within 0.3 s, and the call was ended; find out "
                         "why the application daemon hangs, or start it again; --timeout sets a longer limit\n"));
}

TEST(config_deed, a_reading_that_is_ended_was_not_done)
{
    const sim::scripted_daemon app(app_path, sim::script{sim::receive(), sim::await_close()});
    EXPECT_EQ(utmctl("--timeout 0.3 app status"),
              refused(3, "the status of application control was not read: the application daemon "
                         "(/dev/utm_app_config_socket) did not answer within 0.3 s, and the call was ended; find out "
                         "why the application daemon hangs, or start it again; --timeout sets a longer limit\n"));
}

TEST(config_deed, a_change_without_its_daemon)
{
    EXPECT_EQ(utmctl("cf debug 1"),
              refused(4, std::string("the content filter's debug value was not set to 1: ") + cf_missing +
                             "; start the content-filter daemon, then run the command again\n"));
}

TEST(config_deed, a_policy_that_is_not_registered_is_not_flushed)
{
    const config_daemons daemons;
    EXPECT_EQ(utmctl("cf flush-policy 3 70 --yes"),
              refused(6, "content-filter policy 70 was not flushed: the ID registry does not know content-filter "
                         "policy 70, and nothing was sent; 'utmctl registry show' tells what it holds\n"));
    EXPECT_TRUE(daemons.visits().empty());
}

// A domain may fill its field without a terminator, and hold any bytes.
TEST(config_deed, domains_are_shown_whatever_they_hold)
{
    const sim::scripted_daemon cf(cf_path,
                                  answer({domain_entry(longest_domain, 6), domain_entry("a\x1b\xff", 7), reply(0)}));
    const run_result result = utmctl("--no-headers profile domains 7");
    EXPECT_NE(result.out.find(longest_domain + " "), std::string::npos) << result;
    EXPECT_NE(result.out.find("\na\\x1b\\xff "), std::string::npos) << result;
    const run_result in_json = utmctl("-j profile domains 7");
    EXPECT_NE(in_json.out.find(R"({"domain":"a\u001b�","value":7})"), std::string::npos) << in_json;
}

TEST(config_deed, the_mapping_is_a_table)
{
    EXPECT_EQ(utmctl("profile mapping"), (run_result{0, "ID CF-POLICY\n", ""}));
    register_ids({{0, 7}, {3, 8}, {259, 70}});
    EXPECT_EQ(utmctl("profile mapping"), (run_result{0, "ID CF-POLICY\n 7         -\n 8        70\n", ""}));
    EXPECT_EQ(
        utmctl("-j profile mapping"),
        (run_result{0, done_line("profile mapping", R"([{"id":7,"cf_policy":null},{"id":8,"cf_policy":70}])"), ""}));
}

} // namespace
