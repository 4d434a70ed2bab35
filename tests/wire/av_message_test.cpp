#include "tests/wire/engines.h"

#include <cstdlib>

namespace {

template <class Operation> sim::bytes request(Operation operation)
{
    return request_of("/tmp/utm_av", operation);
}

TEST(av_message, switches)
{
    EXPECT_EQ(request([] { utm_av_activate(0); }), record(96, {}));
    EXPECT_EQ(request([] { utm_av_activate(1); }), record(96, {{4, 1}}));
    EXPECT_EQ(request([] { utm_av_debug(0); }), record(96, {{0, 8}}));
    EXPECT_EQ(request([] { utm_av_debug(1); }), record(96, {{0, 8}, {4, 1}}));
}

TEST(av_message, bare_codes)
{
    uint32_t status[4];
    EXPECT_EQ(request([&] { utm_av_show_status(status); }), record(96, {{0, 1}}));
    EXPECT_EQ(request([] { free(utm_av_show_cache()); }), record(96, {{0, 5}}));
    EXPECT_EQ(request([] { free(utm_av_show_whitelist()); }), record(96, {{0, 7}}));
    EXPECT_EQ(request([] { utm_av_reset(); }), record(96, {{0, 9}}));
    EXPECT_EQ(request([] { utm_av_flush(); }), record(96, {{0, 10}}));
}

TEST(av_message, cache_size)
{
    EXPECT_EQ(request([] { utm_av_cache_set_max_size(0); }), record(96, {{0, 4}}));
    EXPECT_EQ(request([] { utm_av_cache_set_max_size(10); }), record(96, {{0, 4}, {16, 10}}));
}

TEST(av_message, whitelist_entry)
{
    EXPECT_EQ(request([] { utm_av_set_whitelist("good.exe", 0); }), record_with_text(96, 20, "good.exe", {{0, 6}}));
    EXPECT_EQ(request([] { utm_av_set_whitelist("a", 1); }), record_with_text(96, 20, "a", {{0, 6}, {88, 1}}));
}

// Deliberate: an entry of more than 32 characters fills its field and has no terminator.
TEST(av_message, long_whitelist_entry)
{
    const std::string text = "abcdefghijklmnopqrstuvwxyz0123456789";
    EXPECT_EQ(request([&] { utm_av_set_whitelist(text.substr(0, 32).c_str(), 1); }),
              record_with_text(96, 20, "abcdefghijklmnopqrstuvwxyz012345", {{0, 6}, {88, 1}}));
    for (size_t length : {33U, 34U, 36U}) {
        EXPECT_EQ(request([&] { utm_av_set_whitelist(text.substr(0, length).c_str(), 1); }),
                  record_with_text(96, 20, "abcdefghijklmnopqrstuvwxyz0123456", {{0, 6}, {88, 1}}));
    }
}

} // namespace
