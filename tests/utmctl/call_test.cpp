#include "sim/gateway.h"
#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/key_file.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/engines.h"
#include "tests/utmctl/records.h"
#include "tests/utmctl/run.h"
#include "tests/utmctl/stopped_lock_holder.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <sys/stat.h>

// The functions of the library by their names, with raw values.

namespace {

using json = nlohmann::ordered_json;

run_result failed(int status, const std::string& sentence)
{
    return refused(status, sentence + "\n");
}

run_result wrong(const std::string& function, const std::string& what)
{
    return failed(2, "call: " + what + "; 'utmctl describe " + function + "' tells what it takes");
}

TEST(call, tells_what_a_function_returns_and_errno)
{
    const engine_daemon daemon(ips, answer_with(reply_of(ips, 0)));
    EXPECT_EQ(utmctl("call utm_ips_activate 1"), (run_result{0, "returned: 0\n", ""}));
    EXPECT_EQ(utmctl("-j call utm_ips_activate 0x1"),
              (run_result{0,
                          done_line("call", R"({"function":"utm_ips_activate","returned":0,"errno":null,)"
                                            R"("outputs":{},"printed":[]})"),
                          ""}));
    const sim::bytes request = request_to(ips, {{0, 0}, {4, 1}});
    EXPECT_EQ(daemon.requests(), (std::vector<sim::bytes>{request, request}));
}

TEST(call, fails_with_the_class_of_errno)
{
    const engine_daemon daemon(ips, answer_with(reply_of(ips, 7)));
    EXPECT_EQ(utmctl("call utm_ips_activate 1"),
              (run_result{1, "returned: 7\nerrno: EREMOTEIO\n",
                          "utmctl: utm_ips_activate returned 7: errno is EREMOTEIO: the daemon refused; 'utmctl "
                          "describe utm_ips_activate' tells more\n"}));
    EXPECT_EQ(utmctl("call utm_ips_activate 2"),
              (run_result{2, "returned: -1\nerrno: EINVAL\n",
                          "utmctl: utm_ips_activate returned -1: errno is EINVAL: an argument is refused; nothing was "
                          "sent; 'utmctl describe utm_ips_activate' tells more\n"}));
    EXPECT_EQ(utmctl("call utm_av_reset --yes").status, 4);
}

TEST(call, ends_with_6_where_an_identifier_is_unknown)
{
    const config_daemons daemons;
    EXPECT_EQ(utmctl("call utm_user_profile_delete 7 --yes"),
              (run_result{6, "returned: -1\nerrno: ENOENT\n",
                          "utmctl: utm_user_profile_delete returned -1: errno is ENOENT: profile 7 is not registered, "
                          "and nothing was sent; 'utmctl describe utm_user_profile_delete' tells more\n"}));
    EXPECT_EQ(daemons.told(), std::vector<std::string>{});
}

TEST(call, ends_with_6_where_the_registry_alone_is_asked)
{
    const auto unknown = [](const std::string& name) {
        return run_result{6, "returned: -1\nerrno: ENOENT\n",
                          "utmctl: check_shm_utm_id returned -1: errno is ENOENT: " + name +
                              " is not registered; 'utmctl describe check_shm_utm_id' tells more\n"};
    };
    register_ids({{0, 7}, {512, 70}});
    EXPECT_EQ(utmctl("call check_shm_utm_id 7 1"), (run_result{0, "returned: 0\n", ""}));
    EXPECT_EQ(utmctl("call check_shm_utm_id 999 1"), unknown("profile 999"));
    EXPECT_EQ(utmctl("call check_shm_utm_id 7 2"), unknown("content-filter policy 7"));
    for (const char* kind : {"0", "3", "4294967295"})
        EXPECT_EQ(utmctl(std::string("call check_shm_utm_id 70 ") + kind), unknown("application policy 70")) << kind;
}

TEST(call, finds_0_unknown_where_no_slot_is_free)
{
    register_ids(full(profiles));
    EXPECT_EQ(utmctl("call check_shm_utm_id 0 1").err,
              "utmctl: check_shm_utm_id returned -1: errno is ENOENT: profile 0 is not registered; 'utmctl describe "
              "check_shm_utm_id' tells more\n");
    EXPECT_EQ(utmctl("call check_shm_utm_id 0 2").status, 0);
}

TEST(call, tells_an_unknown_identifier_from_a_missing_socket)
{
    EXPECT_EQ(utmctl("call utm_user_profile_delete 7 --yes").status, 6);
    register_ids({{0, 7}, {512, 70}});
    EXPECT_EQ(utmctl("call utm_user_profile_add_cf_policy 7 71").err,
              "utmctl: utm_user_profile_add_cf_policy returned -1: errno is ENOENT: content-filter policy 71 is not "
              "registered, and nothing was sent; 'utmctl describe utm_user_profile_add_cf_policy' tells more\n");
    EXPECT_EQ(utmctl("call utm_cf_policy_flush 1 70 --yes"),
              (run_result{4, "returned: -1\nerrno: ENOENT\n",
                          "utmctl: utm_cf_policy_flush returned -1: errno is ENOENT: a daemon's socket is missing; "
                          "'utmctl describe utm_cf_policy_flush' tells more\n"}));
}

TEST(call, ends_with_5_where_the_key_file_is_missing)
{
    const config_daemons daemons;
    const missing_key_file missing;
    for (const char* line :
         {"init_utm_id_config_sem", "init_utm_common_sem", "get_unique_id 7 1", "utm_cf_policy_create 0"})
        EXPECT_EQ(utmctl("call " + std::string(line)).status, 5) << line;
    EXPECT_EQ(utmctl("call utm_uuid_get out 256"),
              (run_result{5, "returned: -1\nerrno: ENOENT\nbuffer: \n",
                          "utmctl: utm_uuid_get returned -1: errno is ENOENT: the library's installed file is missing; "
                          "'utmctl describe utm_uuid_get' tells more\n"}));
    EXPECT_EQ(utmctl("call init_utm_id_config_sem"),
              (run_result{5, "returned: -1\nerrno: ENOENT\n",
                          "utmctl: init_utm_id_config_sem returned -1: errno is ENOENT: the library's installed file "
                          "is missing; 'utmctl describe init_utm_id_config_sem' tells more\n"}));
}

TEST(call, tells_what_the_system_refuses)
{
    EXPECT_EQ(utmctl("call connect_ips").status, 4);
    ASSERT_EQ(mknod("/tmp/web_safe_browsing_activate", S_IFSOCK | 0777, 0), 0); // which cannot be opened
    EXPECT_EQ(utmctl("call utm_cf_activate").status, 1);
}

TEST(call, tells_a_policy_that_stays_reserved)
{
    const config_daemons daemons({.app = 3});
    EXPECT_EQ(utmctl("call utm_app_policy_create 80"),
              (run_result{8, "returned: -1\nerrno: EREMOTEIO\n",
                          "utmctl: utm_app_policy_create returned -1: errno is EREMOTEIO: application policy 80 is "
                          "reserved, and stays in the registry; 'utmctl registry release app-policy 80' frees it\n"}));
}

TEST(call, tells_an_identifier_that_stays_reserved)
{
    EXPECT_EQ(utmctl("call utm_user_profile_create -1"),
              (run_result{8, "returned: -1\nerrno: EINVAL\n",
                          "utmctl: utm_user_profile_create returned -1: errno is EINVAL: profile 4294967295 is "
                          "reserved, and stays in the registry; 'utmctl registry release profile 4294967295' frees "
                          "it\n"}));
    EXPECT_EQ(utmctl("registry release profile 4294967295"), (run_result{0, "profile 4294967295 released\n", ""}));
}

TEST(call, ends_a_call_that_does_not_return)
{
    const engine_daemon daemon(ips, {sim::receive(), sim::await_close()});
    EXPECT_EQ(
        utmctl("--timeout 0.05 call utm_ips_activate 1"),
        failed(3,
               "utm_ips_activate did not return: the IPS daemon (/tmp/utm_ips) did not answer within 0.05 s, "
               "and the call was ended; what it does may have been done all the same; --timeout sets a longer limit, "
               "and 'utmctl describe utm_ips_activate' tells how long the library itself waits"));
}

TEST(call, names_who_holds_the_lock_that_it_waits_for)
{
    const stopped_lock_holder of_uuid(take_uuid_lock);
    EXPECT_EQ(utmctl("--timeout 0.1 call utm_commoc_lock " + std::to_string(init_utm_common_sem())),
              refused(3, "utm_commoc_lock did not return: " + of_uuid.told_of("the lock of the UUID", "0.1")));
    const stopped_lock_holder of_registry;
    EXPECT_EQ(utmctl("--timeout 0.1 call utm_id_config_lock " + std::to_string(init_utm_id_config_sem())),
              refused(3, "utm_id_config_lock did not return: " + of_registry.told_within("0.1")));
}

TEST(call, what_only_reads_may_be_run_again_when_it_did_not_get_the_lock)
{
    const stopped_lock_holder holder;
    EXPECT_EQ(utmctl("--timeout 0.1 call check_shm_utm_id 7 1"),
              refused(3, "check_shm_utm_id did not return: " + holder.told_within("0.1")));
    const std::string changing = utmctl("--timeout 0.1 call reset_utm_id_shm 7 1").err;
    EXPECT_NE(changing.find("then see what 'utmctl registry show' tells\n"), std::string::npos) << changing;
}

TEST(call, tells_of_a_daemon_that_may_have_acted)
{
    const sim::scripted_daemon app(app_path, sim::script{sim::receive(), sim::await_close()});
    EXPECT_EQ(utmctl("call utm_app_get_export_interval out").err,
              "utmctl: utm_app_get_export_interval returned -1: errno is ETIMEDOUT: the daemon did not answer in time; "
              "it may have acted all the same; 'utmctl describe utm_app_get_export_interval' tells how long the "
              "library waits\n");
}

TEST(call, refuses_what_does_not_fit_the_type)
{
    EXPECT_EQ(utmctl("call utm_ips_activate -1"),
              wrong("utm_ips_activate", "on: '-1' is not a whole number from 0 to 4294967295"));
    EXPECT_EQ(utmctl("call utm_ips_activate 0x100000000"),
              wrong("utm_ips_activate", "on: '0x100000000' is not a whole number from 0 to 4294967295"));
    EXPECT_EQ(utmctl("call utm_ir_db_set_whitelist 1 65536 0"),
              wrong("utm_ir_db_set_whitelist", "second_value: '65536' is not a whole number from 0 to 65535"));
    EXPECT_EQ(utmctl("call utm_cf_debug -2147483649"),
              wrong("utm_cf_debug", "value: '-2147483649' is not a whole number from -2147483648 to 2147483647"));
    EXPECT_EQ(utmctl("call utm_ips_activate"), wrong("utm_ips_activate", "utm_ips_activate takes 1 argument: on"));
    EXPECT_EQ(utmctl("call utm_user_profile_add_dev 7 0242ac1100"),
              wrong("utm_user_profile_add_dev",
                    "mac: '0242ac1100' is not a MAC address such as 02:42:ac:11:00:05 or 0242ac110005, or null"));
    EXPECT_EQ(utmctl("call utm_app_policy_config_block 80 0100000001000000 2"),
              wrong("utm_app_policy_config_block", "count: '2' is more than the entries before it"));
    EXPECT_EQ(utmctl("call utm_app_daemon_status out out 7"),
              wrong("utm_app_daemon_status", "third: '7' is neither out nor null"));
    EXPECT_EQ(utmctl("call utm_cf_dump_all '/tmp/a b'"),
              wrong("utm_cf_dump_all", "path: '/tmp/a b' has characters that a shell may interpret; letters, digits "
                                       "and /._-+,:@%= are safe"));
}

TEST(call, suggests_the_function_that_is_meant)
{
    const auto unknown = [](const std::string& text, const std::string& meant) {
        return failed(2, "call: FUNCTION: '" + text + "' is not a function of the library; " + meant +
                             "'utmctl describe' lists them; 'utmctl help call' tells what it takes");
    };
    const std::string activate = "did you mean 'utm_ips_activate'? ";
    EXPECT_EQ(utmctl("call utm_frob"), unknown("utm_frob", ""));
    EXPECT_EQ(utmctl("call utm_ips_activat 1"), unknown("utm_ips_activat", activate));
    EXPECT_EQ(utmctl("call ips_activate 1"), unknown("ips_activate", activate));
    EXPECT_EQ(utmctl("call UTM_IPS_Activate 1"), unknown("UTM_IPS_Activate", activate));
    EXPECT_EQ(utmctl("call utm_ips_activate(1)"), unknown("utm_ips_activate(1)", activate));
    EXPECT_EQ(utmctl("call ips_activat()"), unknown("ips_activat()", activate));
}

TEST(call, tells_the_words_of_arguments_in_its_help)
{
    EXPECT_NE(utmctl("help call")
                  .out.find("\nAn argument is one of:\n"
                            "  a number       decimal, or hexadecimal after 0x\n"
                            "  a text         its bytes; null is a null pointer, and text: before a text "
                            "lets it be any, such as text:null\n"
                            "  a MAC address  02:42:ac:11:00:05 or 0242ac110005, or null\n"
                            "  bytes          two hexadecimal digits each, or null\n"
                            "  out            memory for the function to write to, told afterwards; "
                            "or null\n"
                            "  attached       for a segment to be detached, one that is attached before; or null\n"
                            "  a list         to be released: how many entries a list that is made for the call has, "
                            "or null\n\nExample:\n"),
              std::string::npos);
    const json words = result_of("help call")["words"];
    ASSERT_EQ(words.size(), 7U);
    EXPECT_EQ(words[0], json({{"word", "a number"}, {"meaning", "decimal, or hexadecimal after 0x"}}));
    EXPECT_EQ(result_of("help version")["words"], json::array());
}

TEST(call, sends_negative_numbers)
{
    const engine_daemon daemon(ir, answer_with(reply_of(ir, 0)));
    result_of("call utm_ir_db_set_max_size_mb -1");
    EXPECT_EQ(daemon.requests(), std::vector<sim::bytes>{request_to(ir, {{0, 3}, {4, UINT32_MAX}})});
}

TEST(call, takes_texts_as_they_are)
{
    const engine_daemon daemon(ips, answer_with(reply_of(ips, 0)));
    result_of("call utm_ips_set_whitelist '' 0");
    result_of("call utm_ips_set_whitelist text:null 1");
    EXPECT_EQ(daemon.requests(),
              (std::vector<sim::bytes>{request_to(ips, {{0, 3}}), request_to(ips, {{0, 3}, {52, 1}}, 20, "null")}));
    EXPECT_EQ(utmctl("call utm_ips_set_whitelist null 0").status, 2);
}

TEST(call, takes_bytes_as_hexadecimal_digits)
{
    register_ids({{0, 7}});
    const config_daemons daemons;
    for (const char* mac : {"0242ac110005", "02:42:ac:11:00:06", "02-42-ac-11-00-07"}) {
        result_of("call utm_user_profile_add_dev 7 " + std::string(mac));
        const auto last = static_cast<uint8_t>(mac[strlen(mac) - 1] - '0');
        EXPECT_EQ(daemons.request_of(user_profile_path),
                  (sim::bytes{3, 0, 0, 0, 7, 0, 0, 0, 0x02, 0x42, 0xac, 0x11, 0x00, last, 0, 0}));
    }
}

TEST(call, tells_what_came_in_outputs)
{
    sim::bytes status(832, 0xa5);
    status[0] = 0;
    put_u32(status, 236, 5);
    put_u32(status, 240, 6);
    put_u32(status, 244, 7);
    const sim::scripted_daemon daemon(app_path, answer(records{status}));
    EXPECT_EQ(utmctl("call utm_app_daemon_status out out out"),
              (run_result{0, "returned: 0\nfirst: 5\nsecond: 6\nthird: 7\n", ""}));
}

TEST(call, tells_an_output_that_is_null)
{
    const run_result result = utmctl("call utm_app_get_export_interval null");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "returned: -1\nerrno: EINVAL\ninterval: null\n");
}

TEST(call, prints_buffers_back)
{
    result_of("call utm_uuid_set 'home 7'");
    EXPECT_EQ(utmctl("call utm_uuid_get out 1"), (run_result{0, "returned: 0\nbuffer: home 7\n", ""}));
    EXPECT_EQ(result_of("call utm_getSystemCommandResult 'echo seven' out 4 1 --yes"),
              json::parse(R"({"function":"utm_getSystemCommandResult","returned":null,"errno":null,)"
                          R"("outputs":{"out":"sev"},"printed":[]})"));
}

TEST(call, takes_nothing_there_for_no_failure)
{
    EXPECT_EQ(utmctl("call utm_uuid_get out 256"), (run_result{0, "returned: -1\nbuffer: \n", ""}));
}

TEST(call, walks_lists)
{
    sim::bytes entry = reply_of(ir, 0);
    put_u32(entry, 4, 0xc0a80107);
    entry[8] = 0xbb;
    entry[9] = 1;
    const engine_daemon daemon(ir, send_records({entry, reply_of(ir, 1)}));
    EXPECT_EQ(utmctl("call utm_ir_db_get_whitelist"),
              (run_result{0,
                          "returned: a list of 1 entry\n     VALUE SECOND-VALUE\n3232235783          443\n"
                          "the list is released\n",
                          ""}));
    EXPECT_EQ(result_of("call utm_ir_db_get_whitelist")["returned"],
              json::parse(R"([{"value":3232235783,"second_value":443}])"));
}

TEST(call, tells_a_list_that_broke_off)
{
    const engine_daemon daemon(ir, {sim::receive(), sim::send(reply_of(ir, 0))});
    const run_result result = utmctl("call utm_ir_db_get_blacklist");
    EXPECT_EQ(result.status, 8);
    EXPECT_TRUE(result.out.starts_with("returned: a list of 1 entry\nerrno: ENODATA\n")) << result;
    EXPECT_EQ(result.err, "utmctl: utm_ir_db_get_blacklist returned a list that is not whole: errno is ENODATA: the "
                          "daemon ended the connection instead of answering; 'utmctl describe utm_ir_db_get_blacklist' "
                          "tells more\n");
}

TEST(call, tells_what_a_function_prints)
{
    const json told = told_by("call utm_ir_db_get_whitelist");
    EXPECT_EQ(told["result"]["printed"], json::array({"connect failed"}));
    EXPECT_EQ(told["exit"], 4);
}

TEST(call, makes_lists_to_be_released)
{
    EXPECT_EQ(utmctl("call utm_devid_free_device_list 3"), (run_result{0, "returned nothing\n", ""}));
    EXPECT_EQ(utmctl("call utm_user_profile_free_app_usage_list null"), (run_result{0, "returned nothing\n", ""}));
}

TEST(call, destroys_nothing_without_yes)
{
    EXPECT_EQ(utmctl("call ips_create_server_socket"),
              failed(9,
                     "ips_create_server_socket was not carried out: it destroys the socket at the daemon's path: the "
                     "daemon can no longer be reached there; add --yes if that is what you want"));
    EXPECT_FALSE(exists("/tmp/utm_ips"));
    EXPECT_EQ(utmctl("call ips_create_server_socket --yes").status, 0);
    EXPECT_TRUE(std::filesystem::is_socket("/tmp/utm_ips"));
}

TEST(call, wants_a_yes_for_what_is_lost)
{
    const config_daemons daemons;
    register_ids({{0, 7}});
    result_of("call utm_uuid_set home");
    for (const char* line : {"utm_user_profile_delete 7", "utm_uuid_set ''",
                             "utm_uuid_set text:", "utm_getSystemCommandResult 'touch /tmp/made' out 4 1"}) {
        EXPECT_EQ(utmctl("call " + std::string(line)).status, 9) << line;
    }
    EXPECT_EQ(utmctl("call utm_uuid_set ''"),
              failed(9, "utm_uuid_set was not carried out: it destroys the device UUID, where the text is empty; add "
                        "--yes if that is what you want"));
    EXPECT_EQ(daemons.told(), std::vector<std::string>{});
    EXPECT_FALSE(exists("/tmp/made"));
    EXPECT_EQ(utmctl("uuid get").out, "home\n");
    result_of("call utm_uuid_set '' --yes");
    EXPECT_EQ(utmctl("uuid get").status, 6);
}

TEST(call, runs_no_command_where_one_text_is_missing)
{
    for (const char* arguments : {"null out 256 0", "'touch /tmp/made' null 256 0", "'touch /tmp/made' out 0 0"})
        EXPECT_EQ(utmctl(std::string("-j call utm_getSystemCommandResult ") + arguments).status, 0) << arguments;
    EXPECT_EQ(utmctl("call utm_getSystemCommandResult 'touch /tmp/made' out 1 0"),
              failed(9, "utm_getSystemCommandResult was not carried out: it destroys whatever the command destroys; "
                        "add --yes if that is what you want"));
    EXPECT_FALSE(exists("/tmp/made"));
}

// A command that wants --yes calls a function that wants it, too.
// But for the command that takes the marker away itself, without which the function clears nothing.
TEST(call, is_as_careful_as_the_commands)
{
    std::map<std::string, bool> destroys;
    for (const json& function : result_of("describe"))
        destroys[function["function"]] = !function["destroys"].is_null();
    const json help = result_of("help");
    std::vector<std::string> destroying_themselves;
    for (const json& command : help["commands"]) {
        const std::vector<std::string> functions = command["functions"];
        if (!command["destroys"].is_null() &&
            std::ranges::none_of(functions, [&](const auto& one) { return destroys.at(one); }))
            destroying_themselves.push_back(command["command"]);
    }
    EXPECT_EQ(destroying_themselves, std::vector<std::string>{"registry clear"});
}

// A daemon's working folder is another one.
TEST(call, gives_daemons_paths_from_the_root_on)
{
    const std::string here = std::filesystem::current_path();
    const engine_daemon daemon(ips, answer_with(reply_of(ips, 0)));
    const std::pair<const char*, std::string> words[] = {
        {"rules.sig", here + "/rules.sig"},
        {"text:rules.sig", "rules.sig"},
        {"/a/../b", "/a/../b"},
        {"''", ""},
    };
    std::vector<sim::bytes> requests;
    for (const auto& [word, path] : words) {
        result_of("call utm_ips_update_signature " + std::string(word));
        requests.push_back(request_to(ips, {{0, 6}}, 56, path));
    }
    EXPECT_EQ(daemon.requests(), requests);
    EXPECT_EQ(utmctl("call utm_ips_update_signature null").status, 2);
}

TEST(call, a_call_that_may_have_changed_the_registry_names_it)
{
    const sim::scripted_daemon cf(cf_path, sim::script{sim::receive(), sim::await_close()});
    const std::string cause = " did not return: the content-filter daemon (/dev/utm_cf_config_socket) did not answer "
                              "within 0.05 s, and the call was ended; what it does may have been done all the same; "
                              "--timeout sets a longer limit, and 'utmctl describe ";
    EXPECT_EQ(utmctl("--timeout 0.05 call utm_cf_policy_create 70"),
              failed(3, "utm_cf_policy_create" + cause +
                            "utm_cf_policy_create' tells how long the library itself waits, and 'utmctl registry show' "
                            "what the registry holds"));
    EXPECT_EQ(utmctl("--timeout 0.05 call utm_cf_debug 1"),
              failed(3, "utm_cf_debug" + cause + "utm_cf_debug' tells how long the library itself waits"));
}

TEST(call, knows_a_command_that_is_no_function)
{
    EXPECT_EQ(utmctl("call ips switch on"),
              failed(2, "call: 'ips switch' is a command; 'utmctl help ips switch' tells its functions"));
    EXPECT_EQ(utmctl("describe profile create"),
              failed(2, "describe: 'profile create' is a command; 'utmctl help profile create' tells its functions"));
    EXPECT_EQ(utmctl("describe reset"),
              failed(2, "describe: 'reset' is a command; 'utmctl help reset' tells its functions"));
    EXPECT_EQ(utmctl("describe doctor"),
              failed(2, "describe: FUNCTION: 'doctor' is not a function of the library; 'utmctl describe' lists them; "
                        "'utmctl help describe' tells what it takes"));
}

TEST(call, closes_descriptors)
{
    const engine_daemon daemon(av, {sim::await_close()});
    const run_result result = utmctl("call connect_avd");
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(std::regex_match(result.out, std::regex("returned: [0-9]+\nthe descriptor is closed\n"))) << result;
}

TEST(call, gives_a_lock_back_at_once)
{
    const std::string semaphore = result_of("call init_utm_id_config_sem")["returned"].dump();
    EXPECT_EQ(utmctl("call utm_id_config_lock " + semaphore),
              (run_result{0,
                          "returned: 0\nthe kernel undoes it when the process of the call ends, which is at "
                          "once\n",
                          ""}));
    EXPECT_EQ(utmctl("call utm_id_config_lock " + semaphore).status, 0);
}

TEST(call, undoes_no_lock_that_was_not_taken)
{
    for (const std::string function :
         {"utm_id_config_lock", "utm_id_config_unlock", "utm_commoc_lock", "utm_commoc_unlock"}) {
        EXPECT_EQ(
            utmctl("call " + function + " -1"),
            (run_result{2, "returned: -1\nerrno: EINVAL\n",
                        "utmctl: " + function + " returned -1: errno is EINVAL: Invalid argument; 'utmctl describe " +
                            function + "' tells more\n"}));
    }
}

TEST(call, shows_the_slots_of_the_registry)
{
    register_ids({{0, 7}, {256, 70}, {512, 70}});
    EXPECT_EQ(result_of("call attach_utm_id_data_shm")["returned"],
              json::parse(R"({"profiles":{"0":7},"cf_bindings":{"0":70},"cf_policies":{"0":70},"app_bindings":{},)"
                          R"("app_policies":{}})"));
    EXPECT_EQ(result_of("call detach_utm_id_data_shm attached")["returned"], 0);
}

TEST(call, writes_a_message_to_a_log)
{
    result_of("call utm_log /tmp/utm_log/utm_libips_log '100%s done'");
    EXPECT_EQ(content_of("/tmp/utm_log/utm_libips_log"), "100%s done");
}

TEST(call, sends_an_event_and_tells_its_response)
{
    const sim::gateway gateway;
    result_of("call send_utm_config_event 010000000000000007 1");
    const json told = result_of("call send_utm_event_and_get_response 1d0000000000000007 1");
    EXPECT_EQ(told["returned"], json::parse(R"({"status":0,"fields":{"limit":0},"list":[]})"));
}

// A word that the function takes there, by what 'describe' tells of it.
std::string word_for(const json& argument)
{
    constexpr std::pair<const char*, const char*> words[] = {
        {"a whole number", "1"}, {"a text", "/tmp/x"},           {"a path", "/tmp/x"},
        {"out", "out"},          {"the number of entries", "2"}, {"attached", "attached"},
    };
    const auto given_as = argument.at("given_as").get<std::string>();
    for (const auto& [start, word] : words) {
        if (given_as.starts_with(start))
            return word;
    }
    return "null";
}

// On a gateway where everything answers, every function comes back and is told.
TEST(call, reaches_every_function)
{
    const sim::gateway gateway;
    for (const json& function : result_of("describe")) {
        std::string line = "call " + function["function"].get<std::string>();
        for (const json& argument : function["arguments"])
            line += " " + word_for(argument);
        const run_result result = utmctl("-j " + line + (function["destroys"].is_null() ? "" : " --yes"));
        EXPECT_EQ(json::parse(result.out)["result"]["function"], function["function"]) << result;
    }
}

} // namespace
