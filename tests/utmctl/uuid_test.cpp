#include "kqutm/common.h"

#include "tests/sandbox/files.h"
#include "tests/sandbox/key_file.h"
#include "tests/utmctl/run.h"
#include "tests/utmctl/stopped_lock_holder.h"

#include <gtest/gtest.h>

namespace {

const std::string longest(255, 'u');

TEST(uuid, is_set_and_got)
{
    EXPECT_EQ(utmctl("uuid set 'home 7'"), (run_result{0, "the device UUID was set\n", ""}));
    EXPECT_EQ(utmctl("uuid get"), (run_result{0, "home 7\n", ""}));
    EXPECT_EQ(utmctl("-j uuid set home-8"), (run_result{0, done_line("uuid set", R"({"uuid":"home-8"})"), ""}));
    EXPECT_EQ(utmctl("-j uuid get"), (run_result{0, done_line("uuid get", R"({"uuid":"home-8"})"), ""}));
}

TEST(uuid, is_as_long_as_255_characters)
{
    EXPECT_EQ(utmctl("uuid set " + longest), (run_result{0, "the device UUID was set\n", ""}));
    EXPECT_EQ(utmctl("uuid get"), (run_result{0, longest + "\n", ""}));
}

TEST(uuid, what_would_be_cut_or_is_none_is_refused)
{
    const std::string next = "; 'utmctl help uuid set' tells what it takes\n";
    EXPECT_EQ(utmctl("uuid set u" + longest),
              refused(2, "uuid set: TEXT: 'u" + longest + "' is longer than 255 characters" + next));
    EXPECT_EQ(utmctl("uuid set ''"),
              refused(2, "uuid set: TEXT: '' is blank; 'utmctl uuid clear' takes the UUID away" + next));
    EXPECT_EQ(utmctl("uuid set ' '"), refused(2, "uuid set: TEXT: ' ' is blank" + next));
    EXPECT_EQ(utmctl("uuid set 'a\tb'"), refused(2, "uuid set: TEXT: 'a\\x09b' has control characters" + next));
    EXPECT_EQ(utmctl("uuid get").status, 6);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(uuid, control_characters_of_another_program_are_escaped)
{
    ASSERT_EQ(utm_uuid_set("a\tb\x1b[2J\n"), 0);
    EXPECT_EQ(utmctl("uuid get"), (run_result{0, "a\\x09b\\x1b[2J\\x0a\n", ""}));
    EXPECT_EQ(utmctl("-j uuid get"), (run_result{0, done_line("uuid get", R"({"uuid":"a\tb\u001b[2J\n"})"), ""}));
}

TEST(uuid, bytes_that_are_no_text_are_escaped)
{
    EXPECT_EQ(utmctl("uuid set 'caf\xe9 \xc2\x9b'"), (run_result{0, "the device UUID was set\n", ""}));
    EXPECT_EQ(utmctl("uuid get"), (run_result{0, "caf\\xe9 \\xc2\\x9b\n", ""}));
    EXPECT_EQ(utmctl("-j uuid get"),
              (run_result{0, done_line("uuid get", "{\"uuid\":\"caf\xef\xbf\xbd \xc2\x9b\"}"), ""}));
}

TEST(uuid, none_is_told_by_the_status)
{
    const std::string error = "the device UUID was not read: the gateway has none; 'utmctl uuid set' gives it one\n";
    EXPECT_EQ(utmctl("uuid get"), refused(6, error));
    const run_result in_json = utmctl("-j uuid get");
    EXPECT_TRUE(in_json.out.starts_with(
        R"({"command":"uuid get","status":"unknown-identifier","exit":6,"result":{"uuid":null},"errors":[{)"))
        << in_json;
    EXPECT_EQ(in_json.err, "utmctl: " + error);
}

TEST(uuid, clear_wants_a_yes)
{
    ASSERT_EQ(utm_uuid_set("home"), 0);
    EXPECT_EQ(utmctl("uuid clear"), refused(9, "uuid clear was not carried out: it destroys the device UUID; add --yes "
                                               "if that is what you want\n"));
    EXPECT_EQ(utmctl("uuid get").out, "home\n");
    EXPECT_EQ(utmctl("uuid clear --yes"), (run_result{0, "the device UUID was cleared\n", ""}));
    EXPECT_EQ(utmctl("-j uuid clear --yes"), (run_result{0, done_line("uuid clear", R"({"uuid":null})"), ""}));
    EXPECT_EQ(utmctl("uuid get").status, 6);
}

TEST(uuid, a_lock_that_is_not_given_names_its_holder)
{
    const stopped_lock_holder holder(take_uuid_lock);
    const std::string cause = ": " + holder.told_of("the lock of the UUID", "0.1");
    EXPECT_EQ(utmctl("--timeout 0.1 uuid get"), refused(3, "the device UUID was not read" + cause));
    EXPECT_EQ(utmctl("--timeout 0.1 uuid set a"), refused(3, "the device UUID was not set" + cause));
    EXPECT_EQ(utmctl("--timeout 0.1 uuid clear --yes"), refused(3, "the device UUID was not cleared" + cause));
}

TEST(uuid, a_lock_that_a_process_keeps_names_it)
{
    const stopped_lock_holder holder(take_uuid_lock);
    holder.go_on();
    EXPECT_EQ(utmctl("--timeout 0.1 uuid get"),
              refused(3, "the device UUID was not read: the lock of the UUID was not given within 0.1 s: process " +
                             std::to_string(holder.process()) +
                             " (test_utmctl) holds it; end that process or wait for it, then run the command "
                             "again\n"));
}

TEST(uuid, a_missing_key_file_is_told)
{
    const missing_key_file missing;
    const std::string cause =
        ": the store of the UUID (/usr/lib/libkqutm.so) cannot be used: No such file or directory; "
        "install the library at /usr/lib/libkqutm.so, which is its key file\n";
    EXPECT_EQ(utmctl("uuid get"), refused(5, "the device UUID was not read" + cause));
    EXPECT_EQ(utmctl("uuid set a"), refused(5, "the device UUID was not set" + cause));
    EXPECT_EQ(utmctl("uuid clear --yes"), refused(5, "the device UUID was not cleared" + cause));
}

} // namespace
