#include "common/local_socket.h"

#include "tests/sandbox/descriptors.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>

namespace {

// A connected pair of sockets.
struct socket_pair {
    socket_pair() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0); }
    socket_pair(const socket_pair&) = delete;
    socket_pair& operator=(const socket_pair&) = delete;
    ~socket_pair()
    {
        close(ends[0]);
        close(ends[1]);
    }

    int ends[2];
};

TEST(local_address, is_the_family_and_the_path_in_a_clear_record)
{
    const sockaddr_un address = local_address("/tmp/some_socket");
    sockaddr_un expected = {};
    expected.sun_family = AF_UNIX;
    memcpy(expected.sun_path, "/tmp/some_socket", 17);
    EXPECT_EQ(memcmp(&address, &expected, sizeof address), 0);
}

TEST(local_address, path_is_cut_at_107_characters)
{
    const std::string path(200, 'p');
    const sockaddr_un address = local_address(path.c_str());
    EXPECT_EQ(std::string(address.sun_path), path.substr(0, 107));
}

TEST(wait_readable, tells_ready_timed_out_and_failed_apart)
{
    socket_pair pair;
    EXPECT_EQ(wait_readable(pair.ends[0], 0), 0);
    ASSERT_EQ(write(pair.ends[1], "x", 1), 1);
    EXPECT_EQ(wait_readable(pair.ends[0], 5), 1);
    const int unused = fcntl(0, F_DUPFD_CLOEXEC, 500);
    close(unused);
    EXPECT_EQ(wait_readable(unused, 5), -1);
    EXPECT_EQ(errno, EBADF);
}

// Leaves bytes where the next function called has its variables.
[[gnu::noinline]] void fill_the_stack()
{
    volatile char bytes[4096];
    for (volatile char& byte : bytes)
        byte = static_cast<char>(0xff);
}

TEST(wait_readable, looks_at_its_descriptor_alone)
{
    socket_pair pair;
    fill_the_stack();
    EXPECT_EQ(wait_readable(pair.ends[0], 0), 0);
}

TEST(wait_readable, is_one_select_with_the_limit)
{
    socket_pair pair;
    ASSERT_EQ(write(pair.ends[1], "x", 1), 1);
    wrap::plan plan;
    EXPECT_EQ(wait_readable(pair.ends[0], 10), 1);
    EXPECT_EQ(plan.calls(), std::vector<std::string>{"select(10, 0)"});
}

TEST(wait_readable, does_not_wait_again_after_a_signal)
{
    socket_pair pair;
    wrap::plan plan;
    plan.fail("select", 1, EINTR);
    EXPECT_EQ(wait_readable(pair.ends[0], 10), -1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(plan.count("select"), 1);
}

TEST(wait_readable, any_descriptor_number_will_do)
{
    for (int number : {1023, 1024, 1025, 1087, 1088, 2048}) {
        occupied_descriptors occupied(number);
        socket_pair pair;
        ASSERT_GE(pair.ends[0], number);
        EXPECT_EQ(wait_readable(pair.ends[0], 0), 0) << number;
        ASSERT_EQ(write(pair.ends[1], "x", 1), 1);
        EXPECT_EQ(wait_readable(pair.ends[0], 5), 1) << number;
    }
}

TEST(wait_readable, fails_without_memory_for_a_great_number)
{
    occupied_descriptors occupied(1024);
    socket_pair pair;
    wrap::plan plan;
    plan.fail("calloc", 1, ENOMEM);
    EXPECT_EQ(wait_readable(pair.ends[0], 0), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(plan.count("select"), 0);
}

} // namespace
