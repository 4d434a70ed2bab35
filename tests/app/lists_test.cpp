// The lists of user profiles that the application daemon streams.

#include "kqutm/profile.h"

#include "tests/sandbox/rules.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <thread>
#include <type_traits>

namespace {

constexpr uint32_t profile = 0x81020304;

// The three lists, one type each.
struct usage_by_app {
    static constexpr auto get = [] { return utm_user_profile_get_app_usage(profile, 0xf1f2f3f4); };
    static constexpr auto release = utm_user_profile_free_app_usage_list;
    static request asked() { return app_request(36).u32(8, profile).u32(12, 0xf1f2f3f4); }
    static constexpr char failed[] = "get utm_user_profile_get_app_usage fail\n";
    static constexpr const char* not_allocated[] = {"response malloc fail\n", "app malloc fail\n",
                                                    " new_app malloc fail\n"};
    static constexpr size_t fields = 48; // in the record, and in the entry
    static constexpr size_t entry_fields = 16;
    static constexpr size_t size = 8;
};

struct weekday_limits {
    static constexpr auto get = [] { return utm_user_profile_get_weekday_daily_limit(profile); };
    static constexpr auto release = utm_user_profile_free_weekday_limit_list;
    static request asked() { return app_request(31).u32(8, profile); }
    static constexpr char failed[] = "get utm_user_profile_get_weekday_daily_limit fail\n";
    static constexpr const char* not_allocated[] = {"response malloc fail\n", "app_prev_days malloc fail\n",
                                                    " new_app_weekday_limit malloc fail\n"};
    static constexpr size_t fields = 264;
    static constexpr size_t entry_fields = 16;
    static constexpr size_t size = 8;
};

struct earlier_days {
    static constexpr auto get = [] { return utm_user_profile_get_app_usage_prev_days(profile, 3); };
    static constexpr auto release = utm_user_profile_free_app_usage_prev_days_list;
    static request asked() { return app_request(37).u32(8, profile).u32(12, 3); }
    static constexpr char failed[] = "get utm_user_profile_get_app_usage fail\n";
    static constexpr const char* not_allocated[] = {"response malloc fail\n", "app_prev_days malloc fail\n",
                                                    " new_app_prev_days malloc fail\n"};
    static constexpr size_t fields = 80;
    static constexpr size_t entry_fields = 16;
    static constexpr size_t size = 128;
};

template <class List> class app_lists : public testing::Test {
protected:
    using entry = std::remove_pointer_t<decltype(List::get())>;

    // A record whose fields are those of entry number, and differ from those of any other.
    static sim::bytes entry_record(uint32_t number)
    {
        sim::bytes record = reply(2);
        for (size_t i = 0; i < List::size; i++)
            record[List::fields + i] = static_cast<uint8_t>(i);
        put_u32(record, List::fields, number);
        return record;
    }

    static void expect_entries(entry* head, uint32_t count)
    {
        ASSERT_NE(head, nullptr);
        const auto entries = entries_of(head);
        ASSERT_EQ(entries.size(), count);
        for (uint32_t number = 0; number < count; number++)
            ASSERT_EQ(bytes_of(reinterpret_cast<uint8_t*>(entries[number]) + List::entry_fields, List::size),
                      bytes_of(entry_record(number).data() + List::fields, List::size));
        List::release(head);
    }

    static void expect_failure(int cause)
    {
        EXPECT_EQ(List::get(), nullptr);
        EXPECT_EQ(errno, cause);
    }

    // The log without the traces of entries.
    static std::string log_of_failure()
    {
        const std::string log = appcf_log();
        const size_t bracket = log.find('[');
        return bracket == std::string::npos ? log : log.substr(bracket);
    }
};

using list_types = testing::Types<usage_by_app, weekday_limits, earlier_days>;
TYPED_TEST_SUITE(app_lists, list_types);

TYPED_TEST(app_lists, request_names_profile_and_query)
{
    config_daemons daemons;
    wrap::plan plan;
    auto* head = TypeParam::get();
    EXPECT_EQ(daemons.told(), paths{app_path});
    EXPECT_EQ(daemons.request_of(app_path), TypeParam::asked());
    EXPECT_EQ(plan.count("ftok"), 0) << "the registry is not asked";
    TypeParam::release(head);
}

TYPED_TEST(app_lists, without_entries_is_a_head_that_points_to_itself)
{
    sim::scripted_daemon daemon(app_path, answer(0));
    auto* head = TypeParam::get();
    ASSERT_NE(head, nullptr);
    EXPECT_EQ(head->links.next, &head->links);
    EXPECT_EQ(head->links.prev, &head->links);
    EXPECT_FALSE(exists("/tmp/utm_log"));
    TypeParam::release(head);
}

TYPED_TEST(app_lists, of_one_entry)
{
    sim::scripted_daemon daemon(app_path, stream(1, this->entry_record));
    this->expect_entries(TypeParam::get(), 1);
}

TYPED_TEST(app_lists, of_three_entries)
{
    sim::scripted_daemon daemon(app_path, stream(3, this->entry_record));
    this->expect_entries(TypeParam::get(), 3);
}

TYPED_TEST(app_lists, of_100000_entries)
{
    sim::scripted_daemon daemon(app_path, stream(100000, this->entry_record));
    this->expect_entries(TypeParam::get(), 100000);
}

TYPED_TEST(app_lists, response_is_released_and_the_list_is_not)
{
    sim::scripted_daemon daemon(app_path, stream(3, this->entry_record));
    wrap::plan plan;
    auto* head = TypeParam::get();
    ASSERT_NE(head, nullptr);
    EXPECT_EQ(plan.count("malloc"), 5) << "response, head and three entries";
    EXPECT_EQ(plan.count("free"), 1);
    TypeParam::release(head);
    EXPECT_EQ(plan.count("free"), 5);
}

TYPED_TEST(app_lists, stream_that_breaks_off)
{
    sim::scripted_daemon daemon(app_path, answer({this->entry_record(0), this->entry_record(1)}));
    this->expect_failure(ENODATA);
    EXPECT_EQ(this->log_of_failure(), std::string(broken_off) + TypeParam::failed);
}

TYPED_TEST(app_lists, stream_that_breaks_off_within_a_record)
{
    sim::bytes half = this->entry_record(1);
    half.resize(400);
    sim::scripted_daemon daemon(app_path, answer({this->entry_record(0), half}));
    this->expect_failure(EPROTO);
    EXPECT_EQ(this->log_of_failure(), std::string(broken_off) + TypeParam::failed);
}

TYPED_TEST(app_lists, refusal_is_logged)
{
    sim::scripted_daemon daemon(app_path, answer(5));
    this->expect_failure(EREMOTEIO);
    EXPECT_EQ(appcf_log(), asked_and_refused(5) + TypeParam::failed);
}

TYPED_TEST(app_lists, refusal_within_the_stream_is_logged)
{
    sim::scripted_daemon daemon(app_path, answer({this->entry_record(0), reply(5)}));
    this->expect_failure(EREMOTEIO);
    EXPECT_EQ(this->log_of_failure(), asked_and_refused(5) + TypeParam::failed);
}

TYPED_TEST(app_lists, absence_is_logged)
{
    this->expect_failure(ENOENT);
    EXPECT_EQ(appcf_log(), std::string(asked_nobody) + TypeParam::failed);
}

TYPED_TEST(app_lists, silence_is_logged)
{
    sim::scripted_daemon daemon(app_path, sim::script{sim::receive(), sim::await_close()});
    this->expect_failure(ETIMEDOUT);
    EXPECT_EQ(appcf_log(), std::string(asked_in_vain) + TypeParam::failed);
}

TYPED_TEST(app_lists, without_memory_at_each_allocation)
{
    sim::scripted_daemon daemon(app_path, stream(3, this->entry_record));
    for (int nth = 1; nth <= 5; nth++) { // response, head and three entries
        std::filesystem::remove_all("/tmp/utm_log");
        wrap::plan plan;
        plan.fail("malloc", nth, ENOMEM);
        this->expect_failure(ENOMEM);
        EXPECT_EQ(this->log_of_failure(), "[send_utm_event_and_get_response]" +
                                              std::string(TypeParam::not_allocated[std::min(nth, 3) - 1]) +
                                              TypeParam::failed);
    }
}

class app_usage_list : public app_lists<usage_by_app> {};

TEST_F(app_usage_list, is_read_by_eight_threads_at_once)
{
    sim::scripted_daemon daemon(app_path, stream(20, entry_record));
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 8; caller++) {
        callers.emplace_back([] {
            wrap::plan patient;
            patient.answer("select", wrap::every, 1); // the daemon serves one after the other
            expect_entries(usage_by_app::get(), 20);
        });
    }
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(daemon.requests(), records(8, usage_by_app::asked()));
}

// Deliberate: the earlier days report a failure with the text of the usage by application.
TEST(earlier_days_list, failure_has_the_text_of_the_usage_by_application)
{
    EXPECT_EQ(utm_user_profile_get_app_usage_prev_days(7, 3), nullptr);
    EXPECT_EQ(utm_user_profile_get_app_usage(7, 3), nullptr);
    const std::string once = std::string(asked_nobody) + "get utm_user_profile_get_app_usage fail\n";
    EXPECT_EQ(appcf_log(), once + once);
}

} // namespace
