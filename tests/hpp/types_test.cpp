// Identifiers, addresses, results and texts of the C++ layer.

#include <kqutm.hpp>

#include <gtest/gtest.h>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using kqutm::cause;
using kqutm::mac_address;
using kqutm::profile_id;

TEST(hpp_types, an_identifier_is_never_0_and_never_reads_as_negative)
{
    EXPECT_EQ(profile_id::of(1)->number(), 1);
    EXPECT_EQ(profile_id::of(0x7fffffff)->number(), 0x7fffffff);
    for (const int64_t number : {INT64_C(0), INT64_C(-1), INT64_C(0x80000000), INT64_C(0x100000001)})
        EXPECT_FALSE(profile_id::of(number)) << number;
}

template <class Number> constexpr bool is_number = requires(Number number)
{
    profile_id::of(number);
};

TEST(hpp_types, an_identifier_comes_from_a_whole_number)
{
    EXPECT_EQ(profile_id::of(uint8_t{7})->number(), 7);
    EXPECT_FALSE(profile_id::of(UINT64_MAX)) << "which is not -1";
    EXPECT_FALSE(profile_id::of(UINT64_C(0x100000007))) << "which is not cut to 7";
    EXPECT_TRUE(is_number<int> && is_number<uint64_t>);
    EXPECT_FALSE(is_number<double> || is_number<float>);
}

TEST(hpp_types, identifiers_of_two_kinds_and_numbers_are_not_mixed_up)
{
    EXPECT_FALSE((std::is_convertible_v<profile_id, kqutm::cf_policy_id>));
    EXPECT_FALSE((std::is_convertible_v<kqutm::cf_policy_id, kqutm::app_policy_id>));
    EXPECT_FALSE((std::is_constructible_v<profile_id, int>));
    EXPECT_FALSE((std::is_convertible_v<profile_id, int>));
    EXPECT_FALSE(std::is_default_constructible_v<profile_id>);
    EXPECT_FALSE((std::is_invocable_v<decltype(kqutm::profiles::remove), kqutm::cf_policy_id>));
}

TEST(hpp_types, a_mac_address_is_read_and_written_as_text)
{
    EXPECT_EQ(mac_address::parse("02:42:AC:11:00:0f")->bytes(), (mac_address::bytes_type{2, 0x42, 0xac, 0x11, 0, 15}));
    EXPECT_EQ(mac_address::parse("02-42-ac-11-00-0F")->text(), "02:42:ac:11:00:0f");
    EXPECT_EQ(mac_address::parse("02-42-ac-11-00-0f"), mac_address({2, 0x42, 0xac, 0x11, 0, 15}));
    for (const char* text : {"", "02:42:ac:11:00", "02:42:ac:11:00:0", "02:42:ac:11:00:0ff", "02:42:ac:11:00-0f",
                             "02.42.ac.11.00.0f", "0g:42:ac:11:00:0f", "02:42:ac:11:00:0:", " 2:42:ac:11:00:0f"})
        EXPECT_FALSE(mac_address::parse(text)) << text;
}

TEST(hpp_types, any_six_bytes_are_a_mac_address)
{
    EXPECT_EQ(mac_address::parse("00:00:00:00:00:00"), mac_address({0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(mac_address::parse("ff:ff:ff:ff:ff:ff"), mac_address({255, 255, 255, 255, 255, 255}));
}

TEST(hpp_types, a_result_holds_a_value_that_can_only_be_moved)
{
    kqutm::result<std::unique_ptr<int>> held(std::make_unique<int>(5));
    ASSERT_TRUE(held);
    EXPECT_EQ(**held, 5);
    const std::unique_ptr<int> taken = *std::move(held);
    EXPECT_EQ(*taken, 5);
}

template <class Result> constexpr bool has_members = requires(Result&& held)
{
    std::forward<Result>(held).operator->();
};
template <class Result> constexpr bool has_value = requires(Result&& held)
{
    *std::forward<Result>(held);
};

// What a for reads once the result that it came from is gone.
TEST(hpp_types, a_result_that_is_about_to_go_leaves_its_value_rather_than_a_reference)
{
    const auto call = [] { return kqutm::result(std::vector{3, 4}); };
    std::vector<int> read;
    for (const int number : *call())
        read.push_back(number);
    EXPECT_EQ(read, (std::vector<int>{3, 4}));
    EXPECT_EQ(call().value_or({}), (std::vector<int>{3, 4}));

    using held = kqutm::result<std::vector<int>>;
    EXPECT_TRUE((std::is_same_v<decltype(*call()), std::vector<int>>));
    EXPECT_TRUE(has_members<held&> && has_members<const held&>);
    EXPECT_FALSE(has_members<held> || has_members<const held>);
    EXPECT_FALSE(has_value<const held>);
    EXPECT_FALSE(std::is_reference_v<decltype(call().error())>);
    EXPECT_FALSE(std::is_reference_v<decltype(kqutm::list<utm_ips_rule>().broken_off())>);
}

TEST(hpp_types, a_result_holds_the_cause_of_its_failure)
{
    const kqutm::result<int> failed(cause{.returned = -3, .error = ETIMEDOUT});
    EXPECT_FALSE(failed);
    EXPECT_EQ(failed.value_or(8), 8);
    EXPECT_EQ(failed.error().returned, -3);
    EXPECT_EQ(failed.error().code(), std::errc::timed_out);
    EXPECT_FALSE(failed.error().refused());
    EXPECT_TRUE((cause{.error = EREMOTEIO}.refused()));
}

TEST(hpp_types, the_value_of_a_result_is_made_into_another)
{
    const auto text_of_number = [](int number) { return std::to_string(number); };
    EXPECT_EQ(*kqutm::result(5).transform(text_of_number), "5");
    const kqutm::result<std::string> failed =
        kqutm::result<int>(cause{.returned = -3, .error = ETIMEDOUT}).transform(text_of_number);
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().returned, -3);
    EXPECT_EQ(failed.error().error, ETIMEDOUT);
}

TEST(hpp_types, a_result_asked_for_what_it_does_not_hold_ends_the_program)
{
    const kqutm::result<int> failed{cause()};
    const kqutm::result<int> held(5);
    EXPECT_EXIT(*failed, testing::KilledBySignal(SIGABRT), "");
    EXPECT_EXIT(held.error(), testing::KilledBySignal(SIGABRT), "");
}

TEST(hpp_types, a_text_ends_at_its_terminator_or_with_its_field)
{
    const char terminated[6] = {'a', 'b', 0, 'c', 'd', 'e'};
    const char full[3] = {'a', 'b', 'c'};
    const char empty[2] = {0, 'x'};
    EXPECT_EQ(kqutm::text_of(terminated), "ab");
    EXPECT_EQ(kqutm::text_of(full), "abc");
    EXPECT_EQ(kqutm::text_of(empty), "");
}

} // namespace
