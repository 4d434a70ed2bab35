#include "common/log.h"

#include "tests/sandbox/descriptors.h"
#include "tests/sandbox/disks.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

constexpr char log_file[] = "/tmp/utm_log/utm_libips_log";
constexpr char older_file[] = "/tmp/utm_log/utm_libips_log2";
constexpr off_t threshold = 5242880;

TEST(log, first_message_creates_folder_and_file)
{
    utm_log(log_file, "the first\n");
    EXPECT_TRUE(std::filesystem::is_directory("/tmp/utm_log"));
    EXPECT_EQ(content_of(log_file), "the first\n");
}

TEST(log, file_may_get_descriptor_0)
{
    closed_stdin closed;
    utm_log(log_file, "the first\n");
    EXPECT_EQ(content_of(log_file), "the first\n");
    EXPECT_EQ(fcntl(0, F_GETFD), -1);
}

TEST(log, commands_are_mkdir_without_and_touch_with_a_folder)
{
    wrap::plan plan;
    utm_log(log_file, "one\n");
    EXPECT_EQ(plan.calls("system"), (std::vector<std::string>{"system(mkdir -p /tmp/utm_log)",
                                                              "system(/bin/touch /tmp/utm_log/utm_libips_log)"}));
}

TEST(log, existing_folder_is_not_made_again)
{
    std::filesystem::create_directory("/tmp/utm_log");
    wrap::plan plan;
    utm_log(log_file, "one\n");
    EXPECT_EQ(plan.calls("system"), std::vector<std::string>{"system(/bin/touch /tmp/utm_log/utm_libips_log)"});
    EXPECT_EQ(content_of(log_file), "one\n");
}

TEST(log, steps_of_a_message_to_an_existing_file)
{
    utm_log(log_file, "one\n");
    wrap::plan plan;
    utm_log(log_file, "two\n");
    const std::string flags = std::to_string(O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC);
    EXPECT_EQ(plan.calls(), (std::vector<std::string>{
                                "access(/tmp/utm_log/utm_libips_log, 0)", "stat(/tmp/utm_log/utm_libips_log)",
                                "open(/tmp/utm_log/utm_libips_log, " + flags + ", 438)", "write(4)", "close()"}));
    EXPECT_EQ(content_of(log_file), "one\ntwo\n");
}

TEST(log, every_family_has_its_file)
{
    EXPECT_STREQ(UTM_IPS_LOG, "/tmp/utm_log/utm_libips_log");
    EXPECT_STREQ(UTM_DEVID_LOG, "/tmp/utm_log/utm_libdevid_log");
    EXPECT_STREQ(UTM_APPCF_LOG, "/tmp/utm_log/utm_libappcf_config_log");
    EXPECT_STREQ(UTM_COMMON_LOG, "/tmp/utm_log/utm_libkqutm_common_log");
}

TEST(log, values_are_formatted)
{
    utm_log(log_file, "%s(%d) %s fail: %u%%\n", "connect_ips", -12, "connect", 4294967295U);
    EXPECT_EQ(content_of(log_file), "connect_ips(-12) connect fail: 4294967295%\n");
}

TEST(log, message_without_newline_leaves_the_next_on_the_same_line)
{
    utm_log(log_file, "one");
    utm_log(log_file, "two\n");
    EXPECT_EQ(content_of(log_file), "onetwo\n");
}

TEST(log, long_message_arrives_whole_in_one_write)
{
    const std::string text(70000, 'x');
    wrap::plan plan;
    utm_log(log_file, "<%s>\n", text.c_str());
    EXPECT_EQ(plan.count("write"), 1);
    EXPECT_EQ(content_of(log_file), "<" + text + ">\n");
}

TEST(log, messages_around_the_usual_size_arrive_whole)
{
    std::string all;
    for (size_t size : {1022U, 1023U, 1024U, 1025U}) {
        const std::string text(size, 'y');
        utm_log(log_file, "%s", text.c_str());
        all += text;
    }
    EXPECT_EQ(content_of(log_file), all);
}

TEST(log, without_memory_a_long_message_is_written_as_far_as_it_fits)
{
    const std::string text(2000, 'z');
    wrap::plan plan;
    plan.fail("malloc", wrap::every, ENOMEM);
    utm_log(log_file, "%s", text.c_str());
    EXPECT_EQ(content_of(log_file), text.substr(0, 1023));
}

TEST(log, file_at_the_threshold_is_not_rotated)
{
    make_sparse_file(log_file, threshold);
    utm_log(log_file, "over\n");
    EXPECT_FALSE(exists(older_file));
    EXPECT_EQ(std::filesystem::file_size(log_file), static_cast<uintmax_t>(threshold) + 5);
}

TEST(log, file_above_the_threshold_is_moved_over_the_older_one)
{
    make_sparse_file(log_file, threshold + 1);
    write_file(older_file, "an older generation");
    wrap::plan plan;
    utm_log(log_file, "new\n");
    EXPECT_EQ(plan.calls("system"), std::vector<std::string>{"system(/bin/mv /tmp/utm_log/utm_libips_log "
                                                             "/tmp/utm_log/utm_libips_log2)"});
    EXPECT_EQ(content_of(log_file), "new\n");
    EXPECT_EQ(std::filesystem::file_size(older_file), static_cast<uintmax_t>(threshold) + 1);
}

// Deliberate: the test comes before the write, so the message that crosses the threshold stays in the old file.
TEST(log, message_that_crosses_the_threshold_stays_in_the_old_file)
{
    make_sparse_file(log_file, threshold - 1);
    utm_log(log_file, "crosses\n");
    EXPECT_FALSE(exists(older_file));
    utm_log(log_file, "after\n");
    EXPECT_EQ(std::filesystem::file_size(older_file), static_cast<uintmax_t>(threshold) + 7);
    EXPECT_EQ(content_of(log_file), "after\n");
}

TEST(log, rotated_file_gets_no_third_generation)
{
    for (int round = 0; round < 3; round++) {
        make_sparse_file(log_file, threshold + 1);
        utm_log(log_file, "new\n");
    }
    const std::filesystem::directory_iterator files("/tmp/utm_log");
    EXPECT_EQ(std::distance(files, std::filesystem::directory_iterator()), 2);
}

TEST(log, second_of_two_that_rotate_at_once_moves_the_fresh_file)
{
    make_sparse_file(log_file, threshold + 1);
    wrap::plan plan;
    plan.before("system", 1, [] { utm_log(log_file, "of the first\n"); });
    utm_log(log_file, "of the second\n");
    EXPECT_EQ(content_of(older_file), "of the first\n");
    EXPECT_EQ(content_of(log_file), "of the second\n");
}

TEST(log, message_is_lost_when_another_moves_the_file_before_its_status_is_read)
{
    make_sparse_file(log_file, threshold + 1);
    wrap::plan plan;
    plan.before("stat", 1, [] { std::filesystem::rename(log_file, older_file); });
    utm_log(log_file, "lost\n");
    EXPECT_FALSE(exists(log_file));
    EXPECT_EQ(std::filesystem::file_size(older_file), static_cast<uintmax_t>(threshold) + 1);
}

TEST(log, message_follows_a_file_that_another_moves_before_it_is_written)
{
    utm_log(log_file, "one\n");
    wrap::plan plan;
    plan.before("write", 1, [] { std::filesystem::rename(log_file, older_file); });
    utm_log(log_file, "two\n");
    EXPECT_FALSE(exists(log_file));
    EXPECT_EQ(content_of(older_file), "one\ntwo\n");
}

TEST(log, commands_are_cut_at_their_buffer)
{
    const std::string path = "/tmp/utm_log/" + std::string(600, 'a');
    wrap::plan plan;
    plan.answer("system", wrap::every, 0);
    utm_log(path.c_str(), "lost\n");
    ASSERT_EQ(plan.count("system"), 2);
    EXPECT_EQ(plan.calls("system")[1], "system(" + ("/bin/touch " + path).substr(0, 511) + ")");
}

TEST(log, move_is_cut_at_its_buffer)
{
    const std::string path = "/tmp/utm_log/" + std::string(250, 'a');
    const std::string command = ("/bin/mv " + path + " " + path + "2").substr(0, 511);
    make_sparse_file(path, threshold + 1);
    wrap::plan plan;
    utm_log(path.c_str(), "new\n");
    EXPECT_EQ(plan.calls("system"), std::vector<std::string>{"system(" + command + ")"});
    EXPECT_TRUE(exists(command.substr(command.rfind(' ') + 1)));
    EXPECT_EQ(content_of(path), "new\n");
}

TEST(log, failing_commands_are_ignored)
{
    std::filesystem::create_directory("/tmp/utm_log");
    wrap::plan plan;
    plan.fail("system", 1, ENOMEM);
    utm_log(log_file, "lost\n"); // no file, so nothing to read the status of
    EXPECT_EQ(plan.count("stat"), 1);
    EXPECT_EQ(plan.count("open"), 0);
    EXPECT_FALSE(exists(log_file));
}

TEST(log, failing_move_leaves_the_message_in_the_old_file)
{
    make_sparse_file(log_file, threshold + 1);
    wrap::plan plan;
    plan.answer("system", 1, 256);
    utm_log(log_file, "kept\n");
    EXPECT_FALSE(exists(older_file));
    EXPECT_EQ(std::filesystem::file_size(log_file), static_cast<uintmax_t>(threshold) + 6);
}

TEST(log, message_is_lost_when_the_status_cannot_be_read)
{
    utm_log(log_file, "one\n");
    wrap::plan plan;
    plan.fail("stat", 1, EACCES);
    utm_log(log_file, "two\n");
    EXPECT_EQ(plan.count("open"), 0);
    EXPECT_EQ(content_of(log_file), "one\n");
}

TEST(log, message_is_lost_when_the_file_cannot_be_opened)
{
    utm_log(log_file, "one\n");
    wrap::plan plan;
    plan.fail("open", 1, EMFILE);
    utm_log(log_file, "two\n");
    EXPECT_EQ(plan.count("write"), 0);
    EXPECT_EQ(content_of(log_file), "one\n");
}

TEST(log, nothing_is_written_while_tmp_is_read_only)
{
    {
        read_only_folder tmp("/tmp");
        utm_log(log_file, "lost\n");
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(log, errno_stays_as_it_was)
{
    errno = EXDEV;
    utm_log(log_file, "creates folder and file\n");
    EXPECT_EQ(errno, EXDEV);
    wrap::plan plan;
    plan.fail("open", 1, EMFILE);
    utm_log(log_file, "lost\n");
    EXPECT_EQ(errno, EXDEV);
}

TEST(log, null_path_or_format_writes_nothing)
{
    const char* volatile null = nullptr; // volatile: the compiler must not see the null
    utm_log(null, "text\n");
    utm_log(log_file, null, "value");
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(log, file_is_readable_by_all_and_not_executable)
{
    utm_log(log_file, "one\n");
    struct stat file;
    ASSERT_EQ(stat(log_file, &file), 0);
    EXPECT_EQ(file.st_mode & 0777U, 0644U);
}

TEST(error_text, is_that_of_strerror)
{
    for (int error : {ENOENT, ECONNREFUSED, EPIPE, 4711})
        EXPECT_STREQ(error_text(error).c_str(), strerror(error));
}

TEST(open_for_appending, creates_appends_and_closes_on_exec)
{
    const int fd = open_for_appending("/tmp/some_file");
    ASSERT_GE(fd, 0);
    EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fcntl(fd, F_GETFL) & (O_ACCMODE | O_APPEND), O_RDWR | O_APPEND);
    close(fd);
}

} // namespace
