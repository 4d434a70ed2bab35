#include "kqutm/common.h"

#include "tests/sandbox/files.h"
#include "tests/wrap/wrap.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <gtest/gtest.h>
#include <sys/time.h>

namespace {

// A buffer of some size in the middle of bytes that nobody may touch.
class guarded_buffer {
public:
    explicit guarded_buffer(int size) : size_(size), bytes_(static_cast<size_t>(size) + 2 * margin, untouched) {}

    char* begin() { return bytes_.data() + margin; }
    int size() const { return size_; }
    std::string text() { return begin(); }
    bool is_untouched() const { return std::count(bytes_.begin(), bytes_.end(), untouched) == std::ssize(bytes_); }
    bool kept_its_bounds() const
    {
        return std::all_of(bytes_.begin(), bytes_.begin() + margin, [](char byte) { return byte == untouched; }) &&
               std::all_of(bytes_.end() - margin, bytes_.end(), [](char byte) { return byte == untouched; });
    }

private:
    static constexpr int margin = 16;
    static constexpr char untouched = '\x5a';

    int size_;
    std::string bytes_;
};

std::string result_of(const std::string& command, int size, int strip_newline = 0)
{
    guarded_buffer buffer(size);
    utm_getSystemCommandResult(command.c_str(), buffer.begin(), buffer.size(), strip_newline);
    EXPECT_TRUE(buffer.kept_its_bounds()) << command << " into " << size;
    return buffer.text();
}

// A command that prints so many characters, without a newline.
std::string printing(int count)
{
    return "printf %0" + std::to_string(count) + "d 0";
}

std::string zeros(size_t count)
{
    return std::string(count, '0');
}

constexpr char two_lines[] = "echo one; echo two";

// Deliberate: a buffer of up to 128 bytes gets the first line alone, or what of it one reading took.
TEST(command_result, small_buffer_gets_the_first_line)
{
    for (int size : {5, 64, 127, 128})
        EXPECT_EQ(result_of(two_lines, size), "one\n") << size;
    EXPECT_EQ(result_of(two_lines, 64, 1), "one");
    EXPECT_EQ(result_of(two_lines, 4), "one");
    EXPECT_EQ(result_of(two_lines, 2), "o");
    EXPECT_EQ(result_of(two_lines, 1), "");
}

TEST(command_result, small_buffer_gets_one_reading_of_a_long_line)
{
    EXPECT_EQ(result_of(printing(300), 128), zeros(127));
    EXPECT_EQ(result_of(printing(300), 127), zeros(126));
    EXPECT_EQ(result_of(printing(300), 10), zeros(9));
}

TEST(command_result, larger_buffer_gets_every_line)
{
    EXPECT_EQ(result_of(two_lines, 129), "one\ntwo\n");
    EXPECT_EQ(result_of(two_lines, 256), "one\ntwo\n");
    EXPECT_EQ(result_of(two_lines, 256, 1), "one\ntwo");
}

TEST(command_result, one_newline_is_stripped_at_most)
{
    EXPECT_EQ(result_of("printf 'one\\n\\n'", 256, 1), "one\n");
    EXPECT_EQ(result_of("printf '\\n'", 256, 1), "");
    EXPECT_EQ(result_of("printf one", 256, 1), "one");
    EXPECT_EQ(result_of("true", 256, 1), "");
    EXPECT_EQ(result_of(two_lines, 256, -1), "one\ntwo");
}

TEST(command_result, full_buffer_ends_the_reading)
{
    EXPECT_EQ(result_of(printing(300), 200), zeros(199));
    EXPECT_EQ(result_of(printing(300), 129), zeros(128));
    EXPECT_EQ(result_of(printing(254), 255), zeros(254));
    EXPECT_EQ(result_of(printing(255), 255), zeros(254));
    EXPECT_EQ(result_of(printing(100000), 4096), zeros(4095));
}

// With 127 bytes left for the text and its end, a line is the last one even when it leaves room.
TEST(command_result, line_in_the_margin_is_the_last)
{
    const std::string lines = printing(72) + "; echo; echo two; echo three";
    EXPECT_EQ(result_of(lines, 200), zeros(72) + "\ntwo\n") << "73 characters leave 127 bytes";
    EXPECT_EQ(result_of(lines, 201), zeros(72) + "\ntwo\nthree\n") << "73 characters leave 128 bytes";
}

TEST(command_result, rest_of_the_buffer_is_cleared)
{
    guarded_buffer buffer(200);
    utm_getSystemCommandResult("echo one", buffer.begin(), buffer.size(), 0);
    EXPECT_EQ(std::count(buffer.begin(), buffer.begin() + 200, '\0'), 196);
}

TEST(command_result, errors_of_the_command_do_not_count)
{
    EXPECT_EQ(result_of("echo one; exit 3", 256), "one\n");
    EXPECT_EQ(result_of("echo lost >&2", 256), "");
}

TEST(command_result, nothing_to_run_or_nowhere_to_put_it_does_nothing)
{
    wrap::plan plan;
    guarded_buffer buffer(16);
    utm_getSystemCommandResult(nullptr, buffer.begin(), buffer.size(), 1);
    utm_getSystemCommandResult("echo one", nullptr, 16, 1);
    utm_getSystemCommandResult("echo one", buffer.begin(), 0, 1);
    utm_getSystemCommandResult("echo one", buffer.begin(), -1, 1);
    EXPECT_TRUE(buffer.is_untouched());
    EXPECT_EQ(plan.count("popen"), 0);
}

TEST(command_result, process_that_cannot_be_started)
{
    wrap::plan plan;
    plan.fail("popen", 1, EMFILE);
    guarded_buffer buffer(16);
    utm_getSystemCommandResult("echo one", buffer.begin(), buffer.size(), 1);
    EXPECT_TRUE(buffer.is_untouched());
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(command_result, end_of_the_command_is_waited_for)
{
    EXPECT_EQ(result_of("trap '' PIPE; echo one; sleep 0.2; touch /tmp/ended", 64), "one\n");
    EXPECT_TRUE(exists("/tmp/ended"));
}

TEST(command_result, output_is_not_inherited)
{
    wrap::plan plan;
    EXPECT_EQ(result_of("echo one", 16), "one\n");
    EXPECT_EQ(plan.calls("popen"), std::vector<std::string>{"popen(echo one, re)"});
}

TEST(command_result, output_survives_signals)
{
    struct sigaction interrupting = {};
    interrupting.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGALRM, &interrupting, nullptr), 0);
    const itimerval every_millisecond = {.it_interval = {.tv_sec = 0, .tv_usec = 1000},
                                         .it_value = {.tv_sec = 0, .tv_usec = 1000}};
    ASSERT_EQ(setitimer(ITIMER_REAL, &every_millisecond, nullptr), 0);
    EXPECT_EQ(result_of("echo one; sleep 0.1; echo two", 256), "one\ntwo\n");
    const itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr); // the handler stays: a signal may be on its way
}

} // namespace
