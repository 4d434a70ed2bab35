#include "sim/gateway.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {

std::string error_of(const std::string& text)
{
    std::ofstream("/tmp/home.json") << text;
    try {
        sim::read_scenario("/tmp/home.json");
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

TEST(scenario, starts_the_daemons_with_its_state)
{
    const char state[] = R"({"profiles":[{"id":7,"devices":["02:42:ac:11:00:05"]},{"id":9,"devices":[]}]})";
    const auto value = sim::json{{"user_profile", {{"state", sim::json::parse(state)}}}};
    const sim::gateway gateway({.start = sim::scenario_from(value, "home")});
    EXPECT_EQ(gateway.state("user_profile").dump(), state);
    EXPECT_EQ(gateway.state("cf")["profiles"].dump(), "[]");
}

TEST(scenario, names_the_unknown_key_and_the_file)
{
    EXPECT_EQ(error_of(R"({"fc": {}})"), "/tmp/home.json: unknown key \"fc\"");
    EXPECT_EQ(error_of(R"({"cf": {"stat": {}}})"), "/tmp/home.json.cf: unknown key \"stat\"");
    EXPECT_EQ(error_of(R"({"cf": {"state": {"profile": []}}})"), "/tmp/home.json.cf.state: unknown key \"profile\"");
    EXPECT_EQ(error_of(R"({"cf": {"state": {"profiles": [{"id": 1, "mac": []}]}}})"),
              "/tmp/home.json.cf.state.profiles: unknown key \"mac\"");
}

TEST(scenario, names_what_is_wrong)
{
    EXPECT_EQ(error_of("[]"), "/tmp/home.json: an object is expected");
    EXPECT_EQ(error_of(R"({"addresses": ["home"]})"), "/tmp/home.json.addresses: \"home\" is no IP address");
    EXPECT_EQ(
        error_of(R"({"app": {"faults": ["1:boom"]}})"),
        "/tmp/home.json.app.faults: fault \"1:boom\": there is no fault \"boom\" (there are refuse, status, delay, "
        "silence, close, short, split, garbage, endless, crash, stop, absent, deaf)");
    EXPECT_EQ(error_of(R"({"cf": {"state": {"profiles": [{}]}}})"),
              "/tmp/home.json.cf.state.profiles: \"id\" is missing");
    EXPECT_EQ(error_of(R"({"cf": {"state": {"profiles": [{"id": 4294967296}]}}})"),
              "/tmp/home.json.cf.state.profiles.id: a whole number of 32 bits is expected");
    EXPECT_EQ(error_of(R"({"cf": {"state": {"profiles": [{"id": 1}, {"id": 1}]}}})"),
              "/tmp/home.json.cf.state.profiles.id: 1 is there twice");
    EXPECT_EQ(error_of(R"({"cf": {"state": {"profiles": [{"id": 1, "devices": ["02:42"]}]}}})"),
              "/tmp/home.json.cf.state.profiles.devices: \"02:42\" is no MAC address");
    EXPECT_EQ(error_of("{").substr(0, 16), "/tmp/home.json: ");
    EXPECT_EQ(error_of("[1e999]").substr(0, 16), "/tmp/home.json: ");
}

TEST(scenario, needs_its_file)
{
    EXPECT_THROW(sim::read_scenario("/tmp/missing.json"), sim::input_error);
}

} // namespace
