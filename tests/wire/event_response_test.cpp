#include "tests/sandbox/config_daemons.h"
#include "tests/wire/exchange.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

// A record with a different pattern at every offset, and this status.
sim::bytes pattern(uint8_t status, size_t seed = 0)
{
    sim::bytes all(832);
    for (size_t i = 0; i < all.size(); i++)
        all[i] = static_cast<uint8_t>(i * 7 + i / 256 + seed);
    all[0] = status;
    return all;
}

uint8_t* ask(int code, int target)
{
    const sim::bytes event = record(2056, {{0, static_cast<uint8_t>(code)}});
    return static_cast<uint8_t*>(send_utm_event_and_get_response(event.data(), target));
}

sim::bytes part(const sim::bytes& of, size_t offset, size_t size)
{
    return bytes_of(of.data() + offset, size);
}

// A list of one entry: where its head goes, and how its entry is laid out.
struct list {
    const char* path;
    int target;
    uint8_t code;
    size_t slot;        // in the response
    size_t links;       // in the entry
    size_t data;        // in the entry
    size_t data_source; // in the response
    size_t data_size;
};
constexpr list lists[] = {
    {app_path, 1, 36, 56, 0, 16, 48, 8},     {app_path, 1, 1, 56, 0, 16, 48, 8},
    {app_path, 1, 37, 208, 0, 16, 80, 128},  {app_path, 1, 31, 272, 0, 16, 264, 8},
    {cf_path, 0, 25, 824, 520, 0, 288, 516},
};

// Asks for a list, and lets look at the response and its two entries; releases all of it afterwards.
template <class Look> void with_two_entries(const list& list, Look look)
{
    sim::scripted_daemon daemon(list.path, answer(records{pattern(2, 1), pattern(2, 2), pattern(0, 3)}));
    uint8_t* response = ask(list.code, list.target);
    ASSERT_NE(response, nullptr);
    auto* head = address_at<uint8_t*>(response, list.slot);
    auto* first = address_at<uint8_t*>(head, list.links) - list.links;
    auto* second = address_at<uint8_t*>(first, list.links) - list.links;
    look(response, head, first, second);
    for (uint8_t* block : {response, head, first, second})
        free(block);
}

TEST(event_response, links_are_next_then_prev)
{
    for (const list& list : lists) {
        with_two_entries(list, [&](const uint8_t*, const uint8_t* head, const uint8_t* first, const uint8_t* second) {
            const size_t next = list.links;
            const size_t prev = list.links + 8;
            EXPECT_EQ(address_at<const uint8_t*>(second, next), head + list.links);
            EXPECT_EQ(address_at<const uint8_t*>(head, prev), second + list.links);
            EXPECT_EQ(address_at<const uint8_t*>(second, prev), first + list.links);
            EXPECT_EQ(address_at<const uint8_t*>(first, prev), head + list.links);
        });
    }
}

TEST(event_response, entries_hold_the_bytes_of_their_records)
{
    for (const list& list : lists) {
        with_two_entries(list, [&](const uint8_t*, const uint8_t*, const uint8_t* first, const uint8_t* second) {
            EXPECT_EQ(bytes_of(first + list.data, list.data_size),
                      part(pattern(2, 1), list.data_source, list.data_size));
            EXPECT_EQ(bytes_of(second + list.data, list.data_size),
                      part(pattern(2, 2), list.data_source, list.data_size));
        });
    }
}

TEST(event_response, one_slot_is_set_and_all_else_is_the_last_record)
{
    for (const list& list : lists) {
        with_two_entries(list, [&](const uint8_t* response, const uint8_t*, const uint8_t*, const uint8_t*) {
            sim::bytes expected = pattern(0, 3);
            memcpy(expected.data() + list.slot, response + list.slot, 8);
            EXPECT_EQ(bytes_of(response, 832), expected);
        });
    }
}

TEST(event_response, status_is_the_first_byte_alone)
{
    for (int target : {0, 2}) {
        sim::scripted_daemon daemon(target == 0 ? cf_path : user_profile_path, answer(records{pattern(0)}));
        const sim::bytes event(2056);
        EXPECT_EQ(send_utm_config_event(event.data(), target), 0);
    }
}

} // namespace
