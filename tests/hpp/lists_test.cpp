// The lists of the C++ layer: what they hold, how they end, and that each is released in its own way. That nothing is
// left or released twice shows the address sanitizer.

#include <kqutm.hpp>

#include "tests/engines/devices.h"
#include "tests/sandbox/registry.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <ranges>

namespace {

using kqutm::profile_id;

template <class Entry> constexpr bool is_range = std::ranges::forward_range<const kqutm::list<Entry>>;
static_assert(is_range<utm_ips_rule> && is_range<utm_domain_browse_entry> && is_range<utm_device>);
static_assert(!std::is_copy_constructible_v<kqutm::list<utm_ips_rule>>);
static_assert(std::is_nothrow_move_constructible_v<kqutm::list<utm_ips_rule>>);

const profile_id children = *profile_id::of(7);

sim::bytes domain(const std::string& text, uint32_t value)
{
    sim::bytes record = reply(2);
    put_text(record, 288, text);
    put_u32(record, 800, value);
    return record;
}

// An entry of a list of the application daemon, whose two values stand at offset.
sim::bytes app_entry(size_t offset, uint32_t first, uint32_t second)
{
    sim::bytes record = reply(2);
    put_u32(record, offset, first);
    put_u32(record, offset + 4, second);
    return record;
}

sim::bytes rule(const std::string& name)
{
    sim::bytes record = ips_reply(1);
    put_text(record, 31, name + '\0');
    return record;
}

template <class List, class Member> auto values_of(const List& list, Member member)
{
    std::vector<std::remove_cvref_t<decltype((*list.begin()).*member)>> values;
    for (const auto& entry : list)
        values.push_back(entry.*member);
    return values;
}

using numbers = std::vector<uint32_t>;

TEST(hpp_lists, domains_have_their_links_last)
{
    sim::scripted_daemon daemon(
        cf_path, answer({domain("a.example" + std::string(1, '\0'), 5), domain(std::string(512, 'd'), 6), reply(0)}));
    const auto domains = kqutm::profiles::browsed_domains(children);
    ASSERT_TRUE(domains);
    EXPECT_EQ(values_of(*domains, &utm_domain_browse_entry::value), (numbers{5, 6}));
    EXPECT_EQ(kqutm::text_of(domains->begin()->domain), "a.example");
    EXPECT_EQ(kqutm::text_of(std::next(domains->begin())->domain), std::string(512, 'd')) << "without a terminator";
    EXPECT_FALSE(domains->broken_off());
}

TEST(hpp_lists, of_the_application_daemon)
{
    sim::scripted_daemon daemon(app_path, answer({app_entry(48, 3, 60), app_entry(48, 4, 35), reply(0)}));
    const auto usage = kqutm::limits::usage_by_app(children);
    ASSERT_TRUE(usage);
    EXPECT_EQ(values_of(*usage, &utm_app_usage_entry::first_value), (numbers{3, 4}));
    EXPECT_EQ(values_of(*usage, &utm_app_usage_entry::second_value), (numbers{60, 35}));
}

TEST(hpp_lists, of_weekdays)
{
    sim::scripted_daemon daemon(app_path, answer({app_entry(264, 6, 180), reply(0)}));
    const auto weekdays = kqutm::limits::weekdays(children);
    ASSERT_TRUE(weekdays);
    EXPECT_EQ(values_of(*weekdays, &utm_weekday_limit_entry::second_value), (numbers{180}));
}

TEST(hpp_lists, of_earlier_days)
{
    sim::scripted_daemon daemon(app_path, answer({app_entry(80, 3, 0), reply(0)}));
    const auto days = kqutm::limits::usage_on_earlier_days(children);
    ASSERT_TRUE(days);
    EXPECT_EQ(values_of(*days, &utm_app_usage_prev_days_entry::app_id), (numbers{3}));
}

TEST(hpp_lists, an_empty_one_is_no_failure)
{
    sim::scripted_daemon daemon(cf_path, answer(records{reply(0)}));
    const auto domains = kqutm::profiles::browsed_domains(children);
    ASSERT_TRUE(domains);
    EXPECT_TRUE(domains->empty());
}

TEST(hpp_lists, a_daemon_that_is_not_there_is_one)
{
    const auto domains = kqutm::profiles::browsed_domains(children);
    ASSERT_FALSE(domains);
    EXPECT_EQ(domains.error().code(), std::errc::no_such_file_or_directory);
}

TEST(hpp_lists, no_device_is_an_empty_list)
{
    const engine_daemon daemon(devid_path, records{end_marker()});
    const auto devices = kqutm::devid::devices();
    ASSERT_TRUE(devices);
    EXPECT_TRUE(devices->empty());
    EXPECT_FALSE(devices->broken_off());
}

TEST(hpp_lists, devices_of_a_query)
{
    const engine_daemon daemon(devid_path, records{device("lamp"), device("tv"), end_marker()});
    const auto devices = kqutm::devid::devices_by_interface("eth1");
    ASSERT_TRUE(devices);
    EXPECT_EQ(std::ranges::distance(*devices), 2);
    EXPECT_EQ(kqutm::text_of(devices->begin()->record.name), "lamp");
    EXPECT_FALSE(devices->broken_off());
}

TEST(hpp_lists, one_that_breaks_off_tells_why)
{
    const engine_daemon daemon(devid_path, sim::script{sim::receive(), sim::send(device("lamp"))});
    const auto devices = kqutm::devid::devices();
    ASSERT_TRUE(devices);
    EXPECT_EQ(std::ranges::distance(*devices), 1);
    ASSERT_TRUE(devices->broken_off());
    EXPECT_EQ(devices->broken_off()->error, ENODATA);
}

TEST(hpp_lists, of_the_other_engines)
{
    const engine_daemon ips(ips_path, records{rule("1001"), rule("1002"), ips_reply(0)});
    const engine_daemon av(av_path, records{av_reply(0), av_reply(-1)});
    const engine_daemon ir(ir_path, records{ir_reply(0), ir_reply(-1)});
    const auto rules = kqutm::ips::rules();
    ASSERT_TRUE(rules);
    EXPECT_TRUE(std::ranges::equal(*rules, names{"1001", "1002"}, {},
                                   [](const utm_ips_rule& entry) { return std::string(kqutm::text_of(entry.name)); }));
    EXPECT_EQ(std::ranges::distance(*kqutm::av::whitelist()), 1);
    EXPECT_TRUE(kqutm::ir::blacklist());
}

TEST(hpp_lists, a_mapping)
{
    EXPECT_TRUE((*kqutm::profiles::mapping()).empty());
    set_slots({{profiles, 7}, {profiles + 1, 8}, {cf_bindings, 20}});
    const auto mapping = kqutm::profiles::mapping();
    ASSERT_TRUE(mapping);
    EXPECT_EQ(values_of(*mapping, &utm_profile_mapping::profile_id), (std::vector<int32_t>{7, 8}));
    EXPECT_EQ(values_of(*mapping, &utm_profile_mapping::cf_policy_id), (std::vector<int32_t>{20, 0}));
}

TEST(hpp_lists, one_that_nobody_keeps_is_read_to_its_end)
{
    const engine_daemon ips(ips_path, records{rule("1001"), rule("1002"), ips_reply(0)});
    names read;
    for (const utm_ips_rule& entry : *kqutm::ips::rules())
        read.emplace_back(kqutm::text_of(entry.name));
    EXPECT_EQ(read, (names{"1001", "1002"}));
}

TEST(hpp_lists, are_moved_and_handed_over)
{
    const engine_daemon ips(ips_path, records{rule("1001"), ips_reply(0)});
    kqutm::list<utm_ips_rule> first = *kqutm::ips::rules();
    kqutm::list<utm_ips_rule> second = std::move(first);
    EXPECT_TRUE(first.empty()) << "what was moved from holds nothing";
    EXPECT_FALSE(second.empty());
    utm_ips_rule* head = second.release();
    EXPECT_TRUE(second.empty());
    free_list(head);
    EXPECT_TRUE(kqutm::list<utm_ips_rule>().empty());
}

} // namespace
