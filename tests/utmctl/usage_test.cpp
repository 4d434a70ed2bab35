#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/utmctl/run.h"

#include <cstring>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

struct bad_line {
    const char* line;
    const char* error;
};

constexpr bad_line bad_lines[] = {
    {"profle list", "unknown command 'profle'; did you mean 'profile'? 'utmctl help' lists the commands"},
    {"zzz", "unknown command 'zzz'; 'utmctl help' lists the commands"},
    {"profile lst",
     "unknown command 'profile lst'; did you mean 'profile list'? 'utmctl help profile' lists the commands"},
    {"registry res 1",
     "unknown command 'registry res'; did you mean 'registry reserve'? 'utmctl help registry' lists the "
     "commands"},
    {"profile create 5 6", "profile create: unexpected argument '6'; 'utmctl help profile create' tells what it takes"},
    {"profile list --all", "profile list: unknown option '--all'; 'utmctl help profile list' tells what it takes"},
    {"profile delete", "profile delete: ID is required; 'utmctl help profile delete' tells what it takes"},
    {"profile delete 0",
     "profile delete: ID: '0' is not an identifier, a whole number from 1 to 2147483647; 'utmctl help "
     "profile delete' tells what it takes"},
    {"profile delete 7 8x",
     "profile delete: ID: '8x' is not an identifier, a whole number from 1 to 2147483647; 'utmctl "
     "help profile delete' tells what it takes"},
    {"profile create 2147483648",
     "profile create: ID: '2147483648' is not an identifier, a whole number from 1 to "
     "2147483647, or 0 for one from the clock; 'utmctl help profile create' tells what it takes"},
    {"profile create -5",
     "profile create: ID: '-5' is not an identifier, a whole number from 1 to 2147483647, or 0 for one "
     "from the clock; 'utmctl help profile create' tells what it takes"},
    {"profile create +5",
     "profile create: ID: '+5' is not an identifier, a whole number from 1 to 2147483647, or 0 for one "
     "from the clock; 'utmctl help profile create' tells what it takes"},
    {"profile add-device 7",
     "profile add-device: MAC is required; 'utmctl help profile add-device' tells what it takes"},
    {"profile add-device 7 02:42:ac:11:00", "profile add-device: MAC: '02:42:ac:11:00' is not a MAC address such as "
                                            "02:42:ac:11:00:05; 'utmctl help profile add-device' tells what it takes"},
    {"profile add-device 7 02:42-ac:11:00:05",
     "profile add-device: MAC: '02:42-ac:11:00:05' is not a MAC address such as "
     "02:42:ac:11:00:05; 'utmctl help profile add-device' tells what it takes"},
    {"profile del-device 7 02:42:ac:11:00:-5",
     "profile del-device: MAC: '02:42:ac:11:00:-5' is not a MAC address such as "
     "02:42:ac:11:00:05; 'utmctl help profile del-device' tells what it takes"},
    {"registry check policy 7", "registry check: KIND: 'policy' is not a kind of identifier: profile, cf-policy or "
                                "app-policy; 'utmctl help registry check' tells what it takes"},
    {"registry check cf 7", "registry check: KIND: 'cf' is not a kind of identifier; did you mean 'cf-policy'? kinds "
                            "are profile, cf-policy and "
                            "app-policy; 'utmctl help registry check' tells what it takes"},
    {"--pretty version", "unknown option '--pretty'; did you mean '--json=pretty'? 'utmctl help' lists the options"},
    {"profile list --pretty",
     "profile list: unknown option '--pretty'; did you mean '--json=pretty'? 'utmctl help profile "
     "list' tells what it takes"},
    {"--wait profile list",
     "wrong option: --wait: 'profile' is not a number of seconds above 0 and up to 86400; 'utmctl "
     "help' lists the options"},
    {"log --lines", "log: --lines needs a value; 'utmctl help log' tells what it takes"},
    {"log --lines 1 --lines 2", "log: --lines may be given once; 'utmctl help log' tells what it takes"},
    {"version --timeout", "wrong option: --timeout needs a value; 'utmctl help' lists the options"},
    {"--wait 1 --wait 2 version", "wrong option: --wait may be given once; 'utmctl help' lists the options"},
    {"--quiet=3 version", "wrong option: --quiet takes no value; 'utmctl help' lists the options"},
    {"batch -f x --keep-going=3", "batch: --keep-going takes no value; 'utmctl help batch' tells what it takes"},
    {"--dryrun profile list", "unknown option '--dryrun'; did you mean '--dry-run'? 'utmctl help' lists the options"},
    {"profile --dryrun list", "unknown option '--dryrun'; did you mean '--dry-run'? 'utmctl help' lists the options"},
    {"profile list --wiat=3", "profile list: unknown option '--wiat=3'; did you mean '--wait'? 'utmctl help profile "
                              "list' tells what it takes"},
    {"--yess reset", "unknown option '--yess'; did you mean '--yes'? 'utmctl help' lists the options"},
    {"reset --ye", "reset: unknown option '--ye'; did you mean '--yes'? 'utmctl help reset' tells what it takes"},
    {"--yes=1 reset", "wrong option: --yes takes no value; 'utmctl help' lists the options"},
    {"-x version", "unknown option '-x'; 'utmctl help' lists the options"},
    {"--count 3 watch status", "'--count' is an option of a command; give it behind the words of the command"},
    {"log -n 3", "log: unknown option '-n'; its own options are -f, --lines; 'utmctl help log' tells what it takes"},
    {"uuid set -x", "uuid set: unknown option '-x'; an argument that begins with a hyphen stands behind --; 'utmctl "
                    "help uuid set' tells what it takes"},
    {"-- --quiet", "unknown command '--quiet'; 'utmctl help' lists the commands"},
    {"batch b1", "batch: -f is required; name the FILE with -f b1"},
    {"batch", "batch: -f is required; 'utmctl help batch' tells what it takes"},
    {"help ips switch extra", "help: unexpected argument 'extra'; 'utmctl help' lists the commands"},
    {"help status extra", "help: unexpected argument 'extra'; 'utmctl help' lists the commands"},
    {"--timeout 0 version",
     "wrong option: --timeout: '0' is not a number of seconds above 0 and up to 86400; 'utmctl help' "
     "lists the options"},
    {"--timeout 5s version",
     "wrong option: --timeout: '5s' is not a number of seconds above 0 and up to 86400; 'utmctl help' "
     "lists the options"},
};

class bad_usage : public testing::TestWithParam<bad_line> {};

TEST_P(bad_usage, is_refused_before_anything_is_done)
{
    const std::string line = GetParam().line;
    const std::string error = GetParam().error;
    EXPECT_EQ(utmctl(line), (run_result{2, "", "utmctl: " + error + "\n"}));
    EXPECT_FALSE(exists("/tmp/utm_log"));

    const run_result in_json = utmctl("--json " + line);
    const auto value = nlohmann::json::parse(in_json.out);
    EXPECT_EQ(in_json.status, 2);
    EXPECT_EQ(value["exit"], 2);
    EXPECT_EQ(value["status"], "usage");
    EXPECT_EQ(value["errors"][0]["message"], error);
}

INSTANTIATE_TEST_SUITE_P(utmctl, bad_usage, testing::ValuesIn(bad_lines));

TEST(usage, no_command_gets_help_and_no_success)
{
    EXPECT_EQ(utmctl(""),
              (run_result{2, utmctl("help").out, "utmctl: no command given; 'utmctl help' lists the commands\n"}));
    EXPECT_EQ(utmctl("profile"),
              (run_result{2, utmctl("help profile").out,
                          "utmctl: incomplete command 'profile'; 'utmctl help profile' lists its commands\n"}));
    EXPECT_EQ(told_by("profile")["exit"], 2);
}

nlohmann::ordered_json command_told(const std::string& line)
{
    return told_by(line)["command"];
}

TEST(usage, a_refusal_names_the_command_as_far_as_it_is_known)
{
    EXPECT_EQ(command_told(""), nullptr);
    EXPECT_EQ(command_told("profle list"), nullptr);
    EXPECT_EQ(command_told("profile"), "profile");
    EXPECT_EQ(command_told("profile lst"), "profile");
    EXPECT_EQ(command_told("profile delete"), "profile delete");
    EXPECT_EQ(command_told("profile delete 7 8x"), "profile delete");
    EXPECT_EQ(command_told("profile create 5 6"), "profile create");
    EXPECT_EQ(command_told("--timeout 0 registry show"), "registry show");
    EXPECT_EQ(command_told("profile flush"), "profile flush");
    EXPECT_EQ(command_told("registry clear"), "registry clear");
    EXPECT_EQ(command_told("help profle"), "help");
}

TEST(usage, version)
{
    EXPECT_EQ(utmctl("version"), (run_result{0, "utmctl " KQUTM_VERSION "\nlibkqutm " KQUTM_VERSION "\n", ""}));
    EXPECT_EQ(utmctl("--version"), utmctl("version"));
    const std::string build =
        "{\"version\":\"" KQUTM_VERSION "\",\"key_file\":\"/usr/lib/libkqutm.so\",\"build\":\"" KQUTM_BUILD "\"}";
    EXPECT_EQ(
        utmctl("version -j"),
        (run_result{0,
                    "{\"command\":\"version\",\"status\":\"done\",\"exit\":0,\"result\":{\"version\":\"" KQUTM_VERSION
                    "\",\"tool\":" +
                        build + ",\"library\":" + build + "},\"errors\":[]}\n",
                    ""}));
}

TEST(usage, json_has_one_style)
{
    const std::string meant = "; did you mean '--json=pretty'? 'utmctl help' lists the options\n";
    EXPECT_EQ(utmctl("--json pretty profile list").err, "utmctl: unknown command 'pretty'" + meant);
    EXPECT_EQ(utmctl("status -j pretty").err, "utmctl: status: unexpected argument 'pretty'" + meant);
    EXPECT_EQ(utmctl("-j=pretty version").err, "utmctl: unknown option '-j=pretty'" + meant);
    for (const std::string style : {"", "plain"})
        EXPECT_EQ(utmctl("--json=" + style + " version").err,
                  "utmctl: wrong option: --json: '" + style +
                      "' is not a style of JSON; the only one is pretty; 'utmctl help' lists the options\n");
}

// The options as the help of a command tells them.
std::string options_told(const std::string& command)
{
    const std::string help = utmctl("help " + command).out;
    const size_t begin = help.find("\nOptions, anywhere on the line:\n");
    return help.substr(begin, help.find("\n\nExit status:\n") - begin);
}

TEST(usage, help_tells_the_options_that_count)
{
    EXPECT_EQ(
        options_told("doctor"),
        "\nOptions, anywhere on the line:\n"
        "  -j, --json[=pretty]    print one JSON value instead, on success and on failure\n"
        "  -q, --quiet            leave out confirmations\n"
        "      --timeout SECONDS  how long each daemon may take (default 2)\n"
        "      --dry-run          print the records that would be sent and what else would change, and do nothing\n"
        "      --explain          tell what the library logged and printed meanwhile, and what that means\n"
        "  -h, --help             explain utmctl, or the command\n"
        "      --version          print the version");
    EXPECT_EQ(
        options_told("wait"),
        "\nOptions, anywhere on the line:\n"
        "  -j, --json[=pretty]    print one JSON value instead, on success and on failure\n"
        "  -q, --quiet            leave out confirmations\n"
        "      --timeout SECONDS  how long to wait as a whole (default 60)\n"
        "      --dry-run          print the records that would be sent and what else would change, and do nothing\n"
        "      --explain          tell what the library logged and printed meanwhile, and what that means\n"
        "  -h, --help             explain utmctl, or the command\n"
        "      --version          print the version");
    EXPECT_EQ(
        options_told("watch"),
        "\nOptions, anywhere on the line:\n"
        "  -j, --json[=pretty]     print one JSON object a line instead\n"
        "  -q, --quiet             leave out confirmations\n"
        "      --no-headers        leave out the headings of tables\n"
        "      --columns HEADINGS  the columns of a table to show, in this order, with commas between (default: all)\n"
        "      --timeout SECONDS   how long each call of the library may take (default 60)\n"
        "      --wait SECONDS      how long to wait first for the daemons that the command needs (default: not at "
        "all)\n"
        "  -h, --help              explain utmctl, or the command\n"
        "      --version           print the version");
}

TEST(usage, pretty_json)
{
    EXPECT_EQ(utmctl("--json=pretty registry reserve profile 7"), (run_result{0,
                                                                              "{\n"
                                                                              "  \"command\": \"registry reserve\",\n"
                                                                              "  \"status\": \"done\",\n"
                                                                              "  \"exit\": 0,\n"
                                                                              "  \"result\": {\n"
                                                                              "    \"kind\": \"profile\",\n"
                                                                              "    \"id\": 7\n"
                                                                              "  },\n"
                                                                              "  \"errors\": []\n"
                                                                              "}\n",
                                                                              ""}));
}

TEST(usage, help_on_one_command)
{
    const run_result help = utmctl("help registry clear");
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.out.starts_with("Usage: utmctl registry clear --yes\n\n"
                                     "Does: clear the registry now; the daemons keep theirs.\n\n"
                                     "  --yes  what it destroys may be destroyed: every identifier and binding\n"))
        << help;
    EXPECT_EQ(utmctl("registry clear --help"), help);
}

// Every command of the table is a line of the help, and every one prints one JSON value whatever comes.
TEST(usage, every_command_prints_one_json_value)
{
    const config_daemons daemons;
    const auto help = result_of("help");
    const std::string text = utmctl("help").out;
    EXPECT_EQ(help["exit_statuses"].size(), 12U);
    ASSERT_GE(help["commands"].size(), 14U);
    for (const auto& command : help["commands"]) {
        const std::string words = command["command"];
        const std::string usage = command["usage"];
        EXPECT_NE(text.find("\n  " + usage.substr(strlen("utmctl "))), std::string::npos) << usage;
        const run_result result = utmctl("-j --timeout 20 " + words);
        EXPECT_EQ(nlohmann::json::parse(result.out)["exit"], result.status) << result;
    }
}

} // namespace
