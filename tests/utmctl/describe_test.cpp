#include "tests/utmctl/run.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>

// The one table of functions: what it tells. That it names every function of the library is shown by functions.sh.

namespace {

using json = nlohmann::ordered_json;
using names = std::set<std::string>;

constexpr char described_set_whitelist[] = R"(int32_t utm_ips_set_whitelist(const char* rule, uint32_t action)

Does: sets a rule in the whitelist.

Arguments:
  rule: the rule's identifier, in the daemon's own terms; cut at 10 characters
    given as a text, or null
  action: 0 or 1, and the daemon defines which is which; anything else is refused
    given as a whole number from 0 to 4294967295

In this order:
  exchange with the IPS daemon (/tmp/utm_ips): code 3, set whitelist: 316 bytes, answered by 316

Waits: up to 10 s for each reply, and for each record of a list; to connect and to send without a limit.

Returns:
  0: the daemon accepted
  -1: an argument was refused, no answer came, or the daemon answered so
  other: the daemon's own number of a refusal, unchanged

errno, when it has failed:
  EINVAL: an argument is refused; nothing was sent
  EREMOTEIO: the daemon refused
  ETIMEDOUT: the daemon did not answer in time
  ENODATA: the daemon ended the connection instead of answering
  EPROTO: a record that is too short, or none that belongs here
  ENOENT: the daemon's socket is missing
  ECONNREFUSED: nobody listens on the daemon's socket
  EINTR: a signal ended the wait; whether the daemon acted is not known

Commands that use it:
  utmctl ips set-whitelist

Its records (the rest of a request is zero):
DAEMON CODE RECORD  OFFSET SIZE TYPE          FIELD
ips       3 request      0    4 number        code
ips       3 request     20   11 text          rule
ips       3 request     52    4 number        action
ips       3 reply      312    4 signed number result
)";

TEST(describe, tells_a_function_field_by_field)
{
    EXPECT_EQ(utmctl("describe utm_ips_set_whitelist"), (run_result{0, described_set_whitelist, ""}));
}

TEST(describe, lists_the_fields_of_a_record_in_their_order)
{
    for (const json& function : result_of("describe")) {
        for (const json& step : function["steps"]) {
            for (const char* record : {"request", "reply"}) {
                const json fields = step.value(record, json::object()).value("fields", json::array());
                EXPECT_TRUE(
                    std::ranges::is_sorted(fields, {}, [](const json& one) { return one["offset"].get<int>(); }))
                    << function["function"] << " " << fields;
            }
        }
    }
}

TEST(describe, tells_how_long_a_buffer_is)
{
    EXPECT_EQ(result_of("describe utm_uuid_get")["arguments"][0]["given_as"],
              "out, which is a buffer of SIZE bytes, but at least 256; or null");
}

TEST(describe, tells_what_a_buffer_gets_of_a_command)
{
    EXPECT_EQ(result_of("describe utm_getSystemCommandResult")["arguments"][2]["help"],
              "bytes of the buffer; up to 128 take the first line alone, and no more than 127 characters of it; more "
              "take line after line, a longer one in pieces of 127 characters, and the one read when fewer than 128 "
              "bytes are left is the last, cut where the buffer ends; below 1: nothing is run");
}

constexpr char described_debug[] = R"json({
        "function": "utm_app_debug",
        "family": "app",
        "prototype": "int32_t utm_app_debug(int32_t value)",
        "does": "hands the daemon a debug value",
        "arguments": [{"name": "value", "type": "int32_t", "help": "the value, which the daemon defines",
                       "given_as": "a whole number from -2147483648 to 2147483647"}],
        "steps": [{"daemon": "app", "title": "application", "socket": "/dev/utm_app_config_socket", "code": 41,
                   "name": "debug",
                   "request": {"size": 136, "fields": [
                       {"name": "code", "type": "number", "offset": 0, "size": 1},
                       {"name": "value", "type": "signed number", "offset": 8, "size": 4}]},
                   "reply": {"size": 832, "fields": [
                       {"name": "result", "type": "number", "offset": 0, "size": 1}], "list": false},
                   "when": null}],
        "waits": "up to 2.1 s while the daemon cannot be reached (22 attempts, 100 ms apart), and up to 10 s for its answer",
        "returns": [{"value": "0", "meaning": "the daemon accepted"},
                    {"value": "-1", "meaning": "failed; errno tells the cause"}],
        "errno": [{"value": "EINVAL", "meaning": "an argument is refused; nothing was sent"},
                  {"value": "EREMOTEIO", "meaning": "the daemon refused"},
                  {"value": "ETIMEDOUT", "meaning": "the daemon did not answer in time"},
                  {"value": "ENODATA", "meaning": "the daemon ended the connection instead of answering"},
                  {"value": "EPROTO", "meaning": "a record that is too short, or none that belongs here"},
                  {"value": "ENOENT", "meaning": "the daemon's socket is missing"},
                  {"value": "ECONNREFUSED", "meaning": "nobody listens on the daemon's socket"},
                  {"value": "EINTR", "meaning": "a signal ended the wait; whether the daemon acted is not known"}],
        "afterwards": null,
        "destroys": null,
        "commands": ["app debug"]
})json";

json errors_of(const std::string& function)
{
    const json described = result_of("describe " + function);
    json values = json::array();
    for (const json& one : described.at("errno"))
        values.push_back(one.at("value"));
    return values;
}

TEST(describe, names_the_errors_that_a_function_can_have)
{
    EXPECT_EQ(errors_of("utm_uuid_get"), json({"EINVAL", "ENOENT", "other"}));
    EXPECT_EQ(errors_of("reset_utm_id_shm"), json({"ENOENT", "other"}));
    EXPECT_EQ(errors_of("dump_utm_profile_mapping"), json({"ENOENT", "other"}));
    EXPECT_EQ(errors_of("get_unique_id"), json({"EEXIST", "ENOSPC", "ENOENT", "other"}));
    EXPECT_EQ(errors_of("create_server_socket"), json({"other"}));
    EXPECT_EQ(errors_of("connect_avd"), json({"ENOENT", "ECONNREFUSED", "other"}));
    EXPECT_EQ(errors_of("utm_devid_get_device_list"),
              json({"EREMOTEIO", "ETIMEDOUT", "ENODATA", "EPROTO", "ENOENT", "ECONNREFUSED", "EINTR"}));
    EXPECT_EQ(result_of("describe connect_avd").at("waits"), "to connect without a limit");
}

TEST(describe, tells_the_same_in_json)
{
    EXPECT_EQ(result_of("describe utm_app_debug"), json::parse(described_debug));
}

TEST(describe, lists_the_functions_by_family)
{
    const run_result list = utmctl("describe --no-headers");
    EXPECT_EQ(list.status, 0);
    EXPECT_TRUE(
        list.out.starts_with("profile  utm_user_profile_create                        creates a user profile in "
                             "the registry, then in three daemons; all three are told\n"))
        << list;
}

TEST(describe, refuses_what_is_no_function)
{
    EXPECT_EQ(utmctl("describe ips_activate"),
              refused(2, "describe: FUNCTION: 'ips_activate' is not a function of the library; did you mean "
                         "'utm_ips_activate'? 'utmctl describe' lists them; 'utmctl help describe' tells what it "
                         "takes\n"));
    EXPECT_EQ(utmctl("describe utm_frob"),
              refused(2, "describe: FUNCTION: 'utm_frob' is not a function of the library; 'utmctl describe' lists "
                         "them; 'utmctl help describe' tells what it takes\n"));
}

TEST(describe, knows_what_each_argument_is)
{
    for (const json& function : result_of("describe")) {
        for (const json& argument : function["arguments"])
            EXPECT_TRUE(argument["help"].is_string()) << function["function"] << " " << argument["name"];
    }
}

// What no command of its own is for.
const names without_command = {
    // The daemons' and the library's own work.
    "utm_log",
    // A lock that ends with the command locks nothing; 'uuid' takes it for as long as it needs it.
    "utm_commoc_lock",
    "utm_commoc_unlock",
    // The process that fetched a list gives it back as it ends.
    "utm_devid_free_device_list",
    "utm_free_profile_mapping_list",
    "utm_user_profile_free_app_usage_list",
    "utm_user_profile_free_app_usage_prev_days_list",
    "utm_user_profile_free_weekday_limit_list",
};

TEST(describe, every_operation_has_a_command_of_its_own)
{
    names lonely;
    for (const json& function : result_of("describe")) {
        const auto name = function["function"].get<std::string>();
        if (name.find("utm_") <= 2 && function["commands"].empty())
            lonely.insert(name);
    }
    EXPECT_EQ(lonely, without_command);
}

TEST(describe, every_function_of_a_command_is_known)
{
    names known;
    for (const json& function : result_of("describe"))
        known.insert(function["function"]);
    const json help = result_of("help");
    for (const json& command : help["commands"]) {
        for (const std::string function : command["functions"])
            EXPECT_TRUE(known.contains(function)) << command["command"] << " " << function;
    }
}

TEST(help, tells_the_functions_of_a_command)
{
    const run_result help = utmctl("help registry reserve");
    EXPECT_NE(
        help.out.find("\nFunctions it calls ('utmctl describe' explains them):\n  init_utm_id_shm\n  get_unique_id\n"),
        std::string::npos)
        << help;
}

} // namespace
