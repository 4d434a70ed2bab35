#include "tests/utmctl/engines.h"
#include "tests/utmctl/run.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <unistd.h>

// The commands that read from an engine: lists, status blocks, the timestamp and the version.

namespace {

using json = nlohmann::json;
using records = std::vector<sim::bytes>;

sim::bytes rule_record(const std::string& name)
{
    sim::bytes record = reply_of(ips, 1);
    std::fill_n(record.begin() + 31, 21, uint8_t{0});
    put_text(record, 31, name);
    return record;
}

sim::bytes device_record(const std::string& mac, const std::string& ip, const std::string& name)
{
    sim::bytes record(devid.reply_size);
    put_text(record, 24, mac);
    put_text(record, 24 + 97, name);
    put_text(record, 24 + 161, ip);
    put_text(record, 24 + 177, "br-lan");
    put_text(record, 24 + 193, "Phone");
    put_u32(record, 24 + 332, 7);
    return record;
}

sim::bytes av_record(const std::string& text, const std::string& value = "")
{
    sim::bytes record(av.reply_size);
    put_text(record, 20, text);
    put_text(record, 53, value);
    return record;
}

sim::bytes ir_record(uint32_t value, uint32_t second)
{
    sim::bytes record(ir.reply_size);
    put_u32(record, 4, value);
    put_u32(record, 8, second);
    return record;
}

struct list_case {
    const char* line;
    const engine& from;
    const char* subject;
    sim::bytes request;
    sim::bytes end;
    records entries;
    const char* headings;
    const char* text; // of all entries
    const char* text_of_first;
    const char* json;      // of all entries
    const char* more = ""; // members of the result besides

    friend std::ostream& operator<<(std::ostream& stream, const list_case& one) { return stream << one.line; }
};

const std::vector<list_case>& lists()
{
    static const std::vector<list_case> all = {
        {"ips rules",
         ips,
         "the customized rules",
         request_to(ips, {{0, 5}}),
         reply_of(ips, 0),
         {rule_record("drop-telnet"), rule_record("twenty-one-characters")},
         "RULE\n",
         "drop-telnet\ntwenty-one-character\n",
         "drop-telnet\n",
         R"([{"name":"drop-telnet"},{"name":"twenty-one-character"}])",
         R"(,"limit_reached":false)"},
        {"devid devices",
         devid,
         "the devices",
         request_to(devid, {{0, 3}}),
         reply_of(devid, minus_one),
         {device_record("02:42:ac:11:00:05", "192.168.1.5", "tablet"), device_record("02:42:ac:11:00:06", "", "")},
         "MAC IP INTERFACE NAME TYPE KIND\n",
         "02:42:ac:11:00:05 192.168.1.5 br-lan    tablet Phone    7\n"
         "02:42:ac:11:00:06 -           br-lan    -      Phone    7\n",
         "02:42:ac:11:00:05 192.168.1.5 br-lan    tablet Phone    7\n",
         R"([{"mac":"02:42:ac:11:00:05","ip":"192.168.1.5","interface":"br-lan","name":"tablet","type":"Phone","kind":7},)"
         R"({"mac":"02:42:ac:11:00:06","ip":"","interface":"br-lan","name":"","type":"Phone","kind":7}])"},
        {"av whitelist",
         av,
         "the whitelist entries",
         request_to(av, {{0, 7}}),
         reply_of(av, minus_one),
         {av_record("first"), av_record("second")},
         "ENTRY\n",
         "first\nsecond\n",
         "first\n",
         R"([{"entry":"first"},{"entry":"second"}])"},
        {"av cache",
         av,
         "the cache entries",
         request_to(av, {{0, 5}}),
         reply_of(av, minus_one),
         {av_record("old", "clean"), av_record("new", "virus")},
         "KEY VALUE\n",
         "new virus\nold clean\n",
         "old clean\n",
         R"([{"key":"new","value":"virus"},{"key":"old","value":"clean"}])"},
        {"ir whitelist",
         ir,
         "the whitelist entries",
         request_to(ir, {{0, 16}}),
         reply_of(ir, 1),
         {ir_record(3232235783, 443), ir_record(5, 65535)},
         "VALUE SECOND-VALUE\n",
         "3232235783    443\n         5  65535\n",
         "3232235783    443\n",
         R"([{"value":3232235783,"second":443},{"value":5,"second":65535}])"},
        {"ir blacklist",
         ir,
         "the blacklist entries",
         request_to(ir, {{0, 17}}),
         reply_of(ir, 1),
         {ir_record(1, 2), ir_record(3, 4)},
         "VALUE SECOND-VALUE\n",
         "1 2\n3 4\n",
         "1 2\n",
         R"([{"value":1,"second":2},{"value":3,"second":4}])"},
    };
    return all;
}

records with_end(records entries, const sim::bytes& end)
{
    entries.push_back(end);
    return entries;
}

// Without the blanks that fill a column.
std::string squeezed(const std::string& text)
{
    std::istringstream stream(text);
    std::string shown;
    for (std::string line; std::getline(stream, line); shown += "\n") {
        std::istringstream words(line);
        const char* joint = "";
        for (std::string word; words >> word; joint = " ")
            shown += joint + word;
    }
    return shown;
}

std::string result_in_json(const list_case& one, const std::string& entries)
{
    return done_line(one.line, R"({"entries":)" + entries + R"(,"complete":true)" + one.more + "}");
}

class engine_list : public testing::TestWithParam<list_case> {
protected:
    void expect_failure(const engine_failure& how) const
    {
        const list_case& one = GetParam();
        const std::string message = std::string(one.subject) + " were not listed: " + one.from.name + " " + how.cause +
                                    "; " + next_after(how, one.from);
        EXPECT_EQ(utmctl(std::string(how.options) + one.line), refused(how.status, message + "\n")) << how.name;
        const run_result in_json = utmctl(std::string("-j ") + how.options + one.line);
        EXPECT_EQ(in_json.status, how.status);
        EXPECT_EQ(json::parse(in_json.out)["errors"][0]["message"], message);
    }
};

TEST_P(engine_list, is_shown)
{
    const list_case& one = GetParam();
    const engine_daemon daemon(one.from, send_records(with_end(one.entries, one.end)));
    const std::string shown = squeezed(one.text);
    const run_result result = utmctl(one.line);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(squeezed(result.out), one.headings + shown);
    EXPECT_EQ(squeezed(utmctl(std::string("--no-headers ") + one.line).out), shown);
    EXPECT_EQ(utmctl(std::string("-j ") + one.line), (run_result{0, result_in_json(one, one.json), ""}));
    EXPECT_EQ(daemon.requests(), records(3, one.request));
}

TEST_P(engine_list, may_be_empty)
{
    const list_case& one = GetParam();
    const engine_daemon daemon(one.from, send_records({one.end}));
    EXPECT_EQ(utmctl(one.line), (run_result{0, one.headings, ""}));
    EXPECT_EQ(utmctl(std::string("-j ") + one.line), (run_result{0, result_in_json(one, "[]"), ""}));
}

TEST_P(engine_list, that_breaks_off_is_shown_as_far_as_it_came)
{
    const list_case& one = GetParam();
    const engine_daemon daemon(one.from, {sim::receive(), sim::send(one.entries.front())});
    const run_result result = utmctl(std::string("--no-headers ") + one.line);
    EXPECT_EQ(result.status, 8);
    EXPECT_EQ(squeezed(result.out), squeezed(one.text_of_first));
    EXPECT_EQ(result.err, std::string("utmctl: ") + one.subject + " were listed in part, the first 1: " +
                              one.from.name + " " + closed.cause + "; " + next_after(closed, one.from) + "\n");
    const json value = told_by(one.line);
    EXPECT_EQ(value["exit"], 8);
    EXPECT_EQ(value["result"]["complete"], false);
    EXPECT_EQ(value["result"]["entries"].size(), 1U);
}

TEST_P(engine_list, fails)
{
    const engine& from = GetParam().from;
    expect_failure(absent_daemon);
    {
        const engine_daemon daemon(from, sim::script{sim::receive()});
        expect_failure(closed);
    }
    {
        const engine_daemon daemon(from, send_records({sim::bytes(from.reply_size - 1)}));
        expect_failure(short_reply);
    }
    const engine_daemon daemon(from, sim::script{sim::await_close()});
    expect_failure(overdue);
}

INSTANTIATE_TEST_SUITE_P(utmctl, engine_list, testing::ValuesIn(lists()));

TEST(engine_lists, the_limit_of_rules_is_told)
{
    const engine_daemon daemon(ips, send_records({rule_record("drop-telnet"), reply_of(ips, minus_one)}));
    EXPECT_EQ(utmctl("ips rules"),
              (run_result{0, "RULE\ndrop-telnet\nthe IPS engine holds as many rules as it can\n", ""}));
    const json result = result_of("ips rules");
    EXPECT_EQ(result["limit_reached"], true);
    EXPECT_EQ(result["complete"], true);
}

TEST(engine_lists, texts_are_bounded_and_made_safe)
{
    const std::string key = "\033[2J";
    const engine_daemon daemon(
        av, send_records({av_record(key + std::string(29, 'k'), std::string(32, 'v')), reply_of(av, minus_one)}));
    EXPECT_EQ(utmctl("--no-headers av cache").out,
              "\\x1b[2J" + std::string(29, 'k') + " " + std::string(32, 'v') + "\n");
    EXPECT_EQ(utmctl("-j av cache").out.find('\033'), std::string::npos);
    const json result = result_of("av cache");
    EXPECT_EQ(result["entries"][0]["key"], key + std::string(29, 'k'));
    EXPECT_EQ(result["entries"][0]["value"], std::string(32, 'v'));
}

struct filter_case {
    const char* line;
    size_t offset;
    const char* text;
};

constexpr filter_case filters[] = {
    {"devid devices --ip 192.168.1.5", 24 + 161, "192.168.1.5"},
    {"devid devices --interface br-lan", 24 + 177, "br-lan"},
    {"devid devices --mac 02:42:ac:11:00:05", 24, "02:42:ac:11:00:05"},
    {"devid devices --mac 02:42:AC:11:00:05", 24, "02:42:ac:11:00:05"},
    {"devid devices --mac 02-42-ac-11-00-0F", 24, "02:42:ac:11:00:0f"},
};

TEST(engine_lists, devices_are_filtered_by_the_daemon)
{
    const engine_daemon daemon(devid, send_records({device_record("mac", "ip", "name"), reply_of(devid, minus_one)}));
    records expected;
    for (const filter_case& one : filters) {
        EXPECT_EQ(squeezed(utmctl(std::string("--no-headers ") + one.line).out), "mac ip br-lan name Phone 7\n");
        expected.push_back(request_to(devid, {{0, 3}}, one.offset, one.text));
    }
    EXPECT_EQ(daemon.requests(), expected);
}

TEST(engine_lists, the_gateway_stands_for_its_own_addresses)
{
    const engine_daemon daemon(devid, send_records({reply_of(devid, minus_one)}));
    EXPECT_EQ(squeezed(utmctl("--no-headers devid devices --ip 127.0.0.1").out), "- - - HomeGW Gateway 2\n");
    EXPECT_EQ(utmctl("--no-headers devid devices --ip 192.0.2.1"), (run_result{0, "", ""}));
}

std::string hex_of(const sim::bytes& bytes)
{
    std::string text;
    for (const uint8_t byte : bytes) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

TEST(engine_lists, raw_devices_show_what_the_daemon_defines)
{
    sim::bytes record = device_record("mac", "ip", "name");
    record[24 + 32] = 0xfe;
    const engine_daemon daemon(devid, send_records({record, reply_of(devid, minus_one)}));
    const std::string hex = hex_of({record.begin() + 24, record.begin() + 24 + 352});
    EXPECT_EQ(squeezed(utmctl("--no-headers devid devices --raw").out), "mac ip br-lan name Phone 7 " + hex + "\n");
    EXPECT_EQ(result_of("devid devices --raw")["entries"][0]["raw"], hex);
}

TEST(engine_lists, a_hundred_thousand_devices_come_in_order)
{
    const auto stream = [](const sim::conversation& client) {
        for (int i = 0; i < 100'000; ++i)
            client.send(device_record(std::to_string(i), "ip", "name"));
        client.send(reply_of(devid, minus_one));
    };
    const engine_daemon daemon(devid, {sim::receive(), stream});
    std::istringstream lines(utmctl("--no-headers --timeout 600 devid devices").out);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        ASSERT_TRUE(line.starts_with(std::to_string(count) + " ")) << line;
    EXPECT_EQ(count, 100'000);
}

// Three words of status, and the texts that belong to them.
struct status_case {
    const char* line;
    const engine& from;
    uint32_t code;
    const char* subject;
};

const status_case statuses[] = {
    {"devid status", devid, 2, "the status of device identification"},
    {"av status", av, 1, "the status of the anti-virus engine"},
};

sim::bytes status_reply(const engine& from, uint32_t result)
{
    sim::bytes record = reply_of(from, result);
    put_u32(record, 4, 1);
    put_u32(record, 8, 20);
    put_u32(record, 12, 4294967295);
    return record;
}

TEST(engine_status, of_three_words)
{
    for (const status_case& one : statuses) {
        const engine_daemon daemon(one.from, send_records({status_reply(one.from, 0)}));
        const std::string line = one.line;
        EXPECT_EQ(utmctl(line),
                  (run_result{0, "WORD      VALUE\n   1          1\n   2         20\n   3 4294967295\n", ""}));
        EXPECT_EQ(utmctl(line + " --raw"), (run_result{0, "0000  0100000014000000ffffffff\n", ""}));
        EXPECT_EQ(utmctl("-j " + line + " --raw"),
                  (run_result{0,
                              done_line(line, R"({"answer":0,"words":[1,20,4294967295],)"
                                              R"("raw":"0100000014000000ffffffff"})"),
                              ""}));
        EXPECT_EQ(daemon.requests(), records(3, request_to(one.from, {{0, one.code}})));
    }
}

TEST(engine_status, that_is_refused)
{
    for (const status_case& one : statuses) {
        const engine_daemon daemon(one.from, send_records({status_reply(one.from, minus_one)}));
        const std::string message =
            one.subject + std::string(" was not read: ") + one.from.name + " refused with result -1; " + refusal.next;
        EXPECT_EQ(utmctl(one.line), refused(1, message + "\n"));
        EXPECT_EQ(told_by(one.line)["result"], json({{"answer", -1}}));
    }
    const engine_daemon av_daemon(av, send_records({status_reply(av, 9)}));
    EXPECT_EQ(utmctl("av status").status, 1);
    const engine_daemon devid_daemon(devid, send_records({status_reply(devid, 9)}));
    EXPECT_EQ(utmctl("devid status").status, 0);
}

TEST(engine_status, of_ips_is_the_whole_reply)
{
    sim::bytes reply(ips.reply_size);
    put_u32(reply, 4, 0x01020304);
    const engine_daemon daemon(ips, send_records({reply}));
    const json result = result_of("ips status --raw");
    EXPECT_EQ(result["words"].size(), 79U);
    EXPECT_EQ(result["words"][1], 0x01020304);
    EXPECT_EQ(result["raw"], hex_of(reply));
    EXPECT_TRUE(utmctl("ips status").out.starts_with("WORD    VALUE\n   0        0\n   1 16909060\n"));
    EXPECT_TRUE(utmctl("ips status --raw").out.starts_with("0000  00000000040302010000000000000000\n0010  "));
    EXPECT_EQ(daemon.requests().front(), request_to(ips, {{0, 2}}));
}

TEST(engine_status, of_ips_comes_with_a_refusal_too)
{
    const engine_daemon daemon(ips, send_records({reply_of(ips, 3)}));
    EXPECT_EQ(utmctl("ips status --raw").err, "utmctl: the status of the IPS engine was not read: the IPS daemon "
                                              "(/tmp/utm_ips) refused with result 3; " +
                                                  std::string(refusal.next) + "\n");
    const json value = told_by("ips status");
    EXPECT_EQ(value["exit"], 1);
    EXPECT_EQ(value["result"]["words"][78], 3);
}

struct reading {
    const char* line;
    const engine& from;
    const char* subject;
};

const reading readings[] = {
    {"ips status", ips, "the status of the IPS engine"},
    {"devid status", devid, "the status of device identification"},
    {"av status", av, "the status of the anti-virus engine"},
    {"devid timestamp", devid, "the time of the latest change"},
    {"ir version", ir, "the version of the IR database"},
};

void expect_not_read(const reading& one, const engine_failure& how)
{
    const std::string message = one.subject + std::string(" was not read: ") + one.from.name + " " + how.cause + "; " +
                                next_after(how, one.from);
    EXPECT_EQ(utmctl(std::string(how.options) + one.line), refused(how.status, message + "\n")) << how.name;
    const run_result in_json = utmctl(std::string("-j ") + how.options + one.line);
    EXPECT_EQ(json::parse(in_json.out)["status"], how.word);
    EXPECT_EQ(in_json.status, how.status);
}

TEST(engine_readings, fail)
{
    for (const reading& one : readings) {
        expect_not_read(one, absent_daemon);
        {
            const engine_daemon daemon(one.from, sim::script{sim::receive()});
            expect_not_read(one, closed);
        }
        {
            const engine_daemon daemon(one.from, send_records({sim::bytes(one.from.reply_size - 1)}));
            expect_not_read(one, short_reply);
        }
        {
            const engine_daemon daemon(one.from, sim::script{sim::await_close()});
            expect_not_read(one, overdue);
        }
        unlink(one.from.path);
    }
}

TEST(engine_readings, timestamp)
{
    sim::bytes reply = reply_of(devid, minus_one); // which is not looked at
    put_u32(reply, 376, 7);
    put_u32(reply, 380, 1);
    const engine_daemon daemon(devid, send_records({reply}));
    EXPECT_EQ(utmctl("devid timestamp"), (run_result{0, "4294967303\n", ""}));
    EXPECT_EQ(result_of("devid timestamp"), json({{"timestamp", 4294967303}}));
    EXPECT_EQ(daemon.requests().front(), request_to(devid, {{0, 6}}));
}

TEST(engine_readings, a_timestamp_of_0_is_one)
{
    const engine_daemon daemon(devid, send_records({sim::bytes(devid.reply_size)}));
    EXPECT_EQ(utmctl("devid timestamp"), (run_result{0, "0\n", ""}));
}

sim::bytes version_reply(uint32_t first, uint32_t second, uint32_t third)
{
    sim::bytes reply = reply_of(ir, 0);
    put_u32(reply, 4, first);
    put_u32(reply, 8, second);
    put_u32(reply, 12, third);
    return reply;
}

TEST(engine_readings, version)
{
    {
        const engine_daemon daemon(ir, send_records({version_reply(2, 1, 15)}));
        EXPECT_EQ(utmctl("ir version"), (run_result{0, "2.1.15\n", ""}));
        EXPECT_EQ(result_of("ir version"), json({{"version", "2.1.15"}}));
        EXPECT_EQ(daemon.requests().front(), request_to(ir, {{0, 19}}));
    }
    const engine_daemon none(ir, send_records({version_reply(0, 5, 0)}));
    EXPECT_EQ(utmctl("ir version"), (run_result{0, "none\n", ""}));
    const engine_daemon refusing(ir, send_records({reply_of(ir, 1)}));
    EXPECT_EQ(utmctl("ir version").status, 1);
}

} // namespace
