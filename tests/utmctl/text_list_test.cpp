#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/records.h"
#include "tests/utmctl/run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

// Commands that take lists of texts or bytes, from the line and from files.

namespace {

struct list_case {
    const char* line; // without the texts
    uint8_t code;
    words body; // before the text
    const char* noun;
    const char* owner;
    const char* participle;
};

std::ostream& operator<<(std::ostream& stream, const list_case& one)
{
    return stream << one.line;
}

constexpr char of_policy[] = " of content-filter policy 70";

const list_case lists[] = {
    {"cf add-trusted-url", 8, {}, "trusted URL", "", "added"},
    {"cf del-trusted-url", 9, {}, "trusted URL", "", "deleted"},
    {"cf add-forbidden-url", 10, {}, "forbidden URL", "", "added"},
    {"cf del-forbidden-url", 11, {}, "forbidden URL", "", "deleted"},
    {"cf add-trusted-domain 70", 12, {70}, "trusted domain", of_policy, "added"},
    {"cf del-trusted-domain 70", 13, {70}, "trusted domain", of_policy, "deleted"},
    {"cf add-forbidden-domain 70", 14, {70}, "forbidden domain", of_policy, "added"},
    {"cf del-forbidden-domain 70", 15, {70}, "forbidden domain", of_policy, "deleted"},
    {"cf add-keyword 70", 16, {70}, "keyword", of_policy, "added"},
    {"cf del-keyword 70", 17, {70}, "keyword", of_policy, "deleted"},
};

class text_list : public testing::TestWithParam<list_case> {
protected:
    sim::bytes request_with(const std::string& text) const
    {
        return request_record(cf_path, GetParam().code, text_body(GetParam().body, text));
    }

    size_t longest() const { return GetParam().body.empty() ? 2047 : 511; }
};

TEST_P(text_list, is_sent_in_order_from_line_and_file)
{
    const list_case& one = GetParam();
    const std::string most(longest(), 'x');
    const sim::scripted_daemon cf(cf_path, answer(0));
    write_file("/tmp/texts", "second\r\n\n" + most);
    EXPECT_EQ(utmctl(one.line + std::string(" first -f /tmp/texts")),
              (run_result{0, std::string("3 ") + one.noun + "s" + one.owner + " " + one.participle + "\n", ""}));
    EXPECT_EQ(cf.requests(), (records{request_with("first"), request_with("second"), request_with(most)}));
}

TEST_P(text_list, that_is_refused_names_text_and_line)
{
    const list_case& one = GetParam();
    const sim::scripted_daemon cf(cf_path, {answer(0), answer(5), answer(0)});
    write_file("/tmp/texts", "\nsecond\nthird");
    EXPECT_EQ(utmctl(one.line + std::string(" first -f /tmp/texts")),
              (run_result{8, std::string("2 ") + one.noun + "s" + one.owner + " " + one.participle + "\n",
                          std::string("utmctl: ") + one.noun + " 'second' (line 2 of /tmp/texts)" + one.owner +
                              " was not " + one.participle +
                              ": the content-filter daemon (/dev/utm_cf_config_socket) refused with error code 5; the "
                              "daemon's own log tells the reason\n"}));
    EXPECT_EQ(cf.requests().size(), 3U);
}

TEST_P(text_list, with_a_line_that_is_too_long_is_refused_whole)
{
    const list_case& one = GetParam();
    const std::string command = std::string(one.line).substr(0, std::string(one.line).find(' ', 3));
    const std::string too_long(longest() + 1, 'x');
    write_file("/tmp/texts", "second\n" + too_long);
    EXPECT_EQ(utmctl(one.line + std::string(" first -f /tmp/texts")),
              refused(2, command + ": line 2 of /tmp/texts: '" + too_long + "' is longer than " +
                             std::to_string(longest()) + " characters; 'utmctl help " + command +
                             "' tells what it takes\n"));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

INSTANTIATE_TEST_SUITE_P(utmctl, text_list, testing::ValuesIn(lists));

TEST(text_lists, a_text_of_nothing_is_refused)
{
    EXPECT_EQ(
        utmctl("cf add-trusted-url ''"),
        refused(2, "cf add-trusted-url: URL: '' is blank; 'utmctl help cf add-trusted-url' tells what it takes\n"));
    EXPECT_EQ(
        utmctl("cf del-keyword 70 a ' \t'"),
        refused(2, "cf del-keyword: KEYWORD: ' \\x09' is blank; 'utmctl help cf del-keyword' tells what it takes\n"));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(text_lists, only_blank_lines_are_passed_over)
{
    const sim::scripted_daemon cf(cf_path, answer(0));
    write_file("/tmp/texts", "# a\n \t \r\n\nb");
    EXPECT_EQ(utmctl("-j cf add-trusted-url -f /tmp/texts"),
              (run_result{0,
                          done_line("cf add-trusted-url", R"([{"text":"# a","line":1,"status":"done"},)"
                                                          R"({"text":"b","line":4,"status":"done"}])"),
                          ""}));
}

TEST(text_lists, in_json_each_text_has_its_status)
{
    const sim::scripted_daemon cf(cf_path, {answer(0), answer(5)});
    write_file("/tmp/texts", "b");
    const run_result result = utmctl("-j cf add-trusted-url a -f /tmp/texts");
    EXPECT_EQ(result.status, 8);
    EXPECT_TRUE(result.out.starts_with(
        R"({"command":"cf add-trusted-url","status":"done-in-part","exit":8,"result":[)"
        R"({"text":"a","line":null,"status":"done"},{"text":"b","line":1,"status":"refused"}],"errors":[{)"))
        << result;
}

TEST(text_lists, a_daemon_out_of_reach_ends_the_list)
{
    EXPECT_EQ(utmctl("cf add-trusted-url a b c"),
              refused(4, "trusted URL 'a' was not added, and 2 trusted URLs after it were not tried: the "
                         "content-filter daemon (/dev/utm_cf_config_socket) cannot be reached: No such file or "
                         "directory; start the content-filter daemon, then run the command again\n"));
}

TEST(text_lists, a_file_that_cannot_be_read_is_told)
{
    EXPECT_EQ(utmctl("cf add-keyword 70 -f /tmp/none"),
              refused(2, "no keyword was added: the file (/tmp/none) cannot be read: No such file or directory; name a "
                         "file that can be read, or - for standard input\n"));
    EXPECT_EQ(utmctl("cf add-keyword 70 -f /tmp"),
              refused(2, "no keyword was added: the file (/tmp) cannot be read: Is a directory; name a file that can "
                         "be read, or - for standard input\n"));
}

TEST(text_lists, standard_input_is_a_file_too)
{
    const sim::scripted_daemon cf(cf_path, answer(0));
    write_file("/tmp/texts", "a\nb\n");
    const int old_input = dup(STDIN_FILENO);
    const int texts = open("/tmp/texts", O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(dup2(texts, STDIN_FILENO), STDIN_FILENO);
    EXPECT_EQ(utmctl("cf add-trusted-url -f -"), (run_result{0, "2 trusted URLs added\n", ""}));
    dup2(old_input, STDIN_FILENO);
    close(old_input);
    close(texts);
}

// Runs utmctl at a terminal, and returns what that shows.
std::string shown_at_terminal(const std::vector<const char*>& arguments)
{
    int terminal = -1;
    const pid_t process = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (process == 0) {
        execv(KQUTM_UTMCTL, const_cast<char**>(arguments.data()));
        _exit(127);
    }
    std::string shown;
    char block[512];
    for (ssize_t size; (size = read(terminal, block, sizeof block)) > 0;)
        shown.append(block, static_cast<size_t>(size));
    close(terminal);
    EXPECT_EQ(waitpid(process, nullptr, 0), process);
    return shown;
}

TEST(text_lists, show_their_progress_at_a_terminal)
{
    const sim::scripted_daemon cf(cf_path, answer(0));
    EXPECT_EQ(shown_at_terminal({"utmctl", "cf", "add-trusted-url", "a", "b", nullptr}),
              "\r\x1b[K1 of 2\r\x1b[K2 of 2\r\x1b[K2 trusted URLs added\r\n");
}

sim::bytes entry_record(uint32_t policy, size_t first, size_t count)
{
    sim::bytes body = words_body({policy, static_cast<uint32_t>(count)});
    for (size_t i = first; i < first + count; ++i)
        body.insert(body.end(), {static_cast<uint8_t>(i), 0, 0, 0, 0, 0, 0, 0xff});
    return request_record(app_path, 43, body);
}

// One entry a line, counted up.
std::string entry_lines(size_t count)
{
    std::string lines;
    char line[32];
    for (size_t i = 0; i < count; ++i) {
        snprintf(line, sizeof line, "%02zx000000000000ff\n", i);
        lines += line;
    }
    return lines;
}

TEST(app_entries, are_set_by_tens)
{
    const sim::scripted_daemon app(app_path, answer(0));
    write_file("/tmp/entries", entry_lines(23));
    EXPECT_EQ(utmctl("app set-entries 80 -f /tmp/entries"),
              (run_result{0, "23 entries set as those of application policy 80\n", ""}));
    EXPECT_EQ(app.requests(), (records{request_record(app_path, 44, words_body({80})), entry_record(80, 0, 10),
                                       entry_record(80, 10, 10), entry_record(80, 20, 3)}));
}

TEST(app_entries, are_added_to_what_is_there)
{
    const sim::scripted_daemon app(app_path, answer(0));
    EXPECT_EQ(utmctl("-j app add-entries 80 00000000000000FF"),
              (run_result{0,
                          R"({"command":"app add-entries","status":"done","exit":0,"result":{"policy":80,"added":1},)"
                          R"("errors":[]})"
                          "\n",
                          ""}));
    EXPECT_EQ(app.requests(), records{entry_record(80, 0, 1)});
}

TEST(app_entries, that_are_refused_tell_the_line_and_what_stayed)
{
    const sim::scripted_daemon app(app_path, {answer(0), answer(0), answer(6)});
    write_file("/tmp/entries", entry_lines(12));
    EXPECT_EQ(
        utmctl("app set-entries 80 -f /tmp/entries"),
        refused(8, "the record of 2 entries from '0a000000000000ff' (line 11 of /tmp/entries) of application "
                   "policy 80 was not added (10 entries before it were set, and the old entries are gone): the "
                   "application daemon "
                   "(/dev/utm_app_config_socket) refused with error code 6; the daemon's own log tells the reason\n"));
}

TEST(app_entries, a_policy_that_is_not_emptied_gets_none)
{
    const sim::scripted_daemon app(app_path, answer(6));
    EXPECT_EQ(
        utmctl("app set-entries 80 00000000000000ff"),
        refused(1, "application policy 80 was not cleared for its new entries: the application daemon "
                   "(/dev/utm_app_config_socket) refused with error code 6; the daemon's own log tells the reason\n"));
    EXPECT_EQ(app.requests().size(), 1U);
}

TEST(app_entries, in_json_those_that_are_set_are_counted)
{
    const sim::scripted_daemon app(app_path, answer(0));
    EXPECT_EQ(utmctl("-j app set-entries 80 00000000000000ff"),
              (run_result{0, done_line("app set-entries", R"({"policy":80,"entries":1})"), ""}));
}

TEST(app_entries, none_at_all_do_not_empty_a_policy)
{
    const sim::scripted_daemon app(app_path, answer(0));
    write_file("/tmp/empty", "\n  \n");
    EXPECT_EQ(utmctl("app set-entries 80 -f /tmp/empty"),
              refused(2, "app set-entries: /tmp/empty names no entry; 'utmctl app clear-entries' empties a policy\n"));
    EXPECT_TRUE(app.requests().empty());
}

TEST(category_block, travels_whole)
{
    const sim::scripted_daemon cf(cf_path, answer(0));
    register_ids({{512, 70}});
    write_file("/tmp/block", std::string(127, 'a') + "b\n" + std::string(64, '0') + "\n");
    sim::bytes body = words_body({70, 0xffffffff});
    body.resize(4 + 32, 0xff);
    body.resize(4 + 32 + 63, 0xaa);
    body.push_back(0xab);
    EXPECT_EQ(utmctl("cf set-block 70 " + std::string(64, 'f') + " -f /tmp/block"),
              (run_result{0, "the category block of content-filter policy 70 set\n", ""}));
    EXPECT_EQ(cf.requests(), records{request_record(cf_path, 6, body)});
}

TEST(category_block, is_refused_by_the_daemon_or_before)
{
    const sim::scripted_daemon cf(cf_path, answer(7));
    const std::string block(256, '0');
    EXPECT_EQ(utmctl("cf set-block 70 " + block),
              refused(6, "the category block of content-filter policy 70 was not set: the ID registry does not know "
                         "content-filter policy 70, and nothing was sent; 'utmctl registry show' tells what it "
                         "holds\n"));
    EXPECT_TRUE(cf.requests().empty());
    register_ids({{512, 70}});
    EXPECT_EQ(
        utmctl("cf set-block 70 " + block),
        refused(1, "the category block of content-filter policy 70 was not set: the content-filter daemon "
                   "(/dev/utm_cf_config_socket) refused with error code 7; the daemon's own log tells the reason\n"));
    EXPECT_EQ(utmctl("cf set-block 70 00"), refused(2, "cf set-block: a category block has 128 bytes, not 1; 'utmctl "
                                                       "help cf set-block' tells what it takes\n"));
}

} // namespace
