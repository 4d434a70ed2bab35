// The application engine: switches, signatures, status and statistics.

#include "kqutm/app.h"

#include "tests/sandbox/rules.h"

#include <gtest/gtest.h>
#include <ostream>

namespace {

constexpr char default_path[] = "/tmp/ApplicationData/app_usage.json";

struct setter {
    std::string name;
    int32_t (*run)(int32_t value);
    uint8_t code;
    std::string failed; // with the value -5

    friend std::ostream& operator<<(std::ostream& to, const setter& operation) { return to << operation.name; }
};

class engine_setters : public testing::TestWithParam<setter> {};

INSTANTIATE_TEST_SUITE_P(all, engine_setters,
                         testing::Values(setter{"activate", utm_app_activate, 39, "set app activate(-5) fail\n"},
                                         setter{"debug", utm_app_debug, 41, "set app debug(-5) fail\n"},
                                         setter{"export_interval", utm_app_set_export_interval, 49,
                                                "utm_app_set_export_interval(-5) fail\n"}),
                         [](const auto& test) { return test.param.name; });

TEST_P(engine_setters, value_is_sent_unchanged)
{
    config_daemons daemons;
    EXPECT_EQ(GetParam().run(5), 0);
    EXPECT_EQ(GetParam().run(-5), 0);
    EXPECT_EQ(daemons.told(), (paths{app_path, app_path}));
    EXPECT_EQ(daemons.visits()[0].request, app_request(GetParam().code).u32(8, 5));
    EXPECT_EQ(daemons.visits()[1].request, app_request(GetParam().code).u32(8, 0xfffffffb));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(engine_setters, refusal_is_logged)
{
    config_daemons daemons({.app = 2});
    expect_failure(GetParam().run(-5), EREMOTEIO);
    EXPECT_EQ(appcf_log(), refused(2) + GetParam().failed);
}

TEST_P(engine_setters, absence_is_logged)
{
    impatient caller;
    expect_failure(GetParam().run(-5), ENOENT);
    EXPECT_EQ(appcf_log(), unreachable() + GetParam().failed);
}

TEST_P(engine_setters, silence_is_logged)
{
    config_daemons daemons;
    unheard caller;
    expect_failure(GetParam().run(-5), ETIMEDOUT);
    EXPECT_EQ(appcf_log(), unanswered + GetParam().failed);
}

struct file_operation {
    std::string name; // without utm_app_
    int32_t (*run)(const char* path);
    uint8_t code;

    std::string failed() const { return "utm_app_" + name + " fail\n"; }

    friend std::ostream& operator<<(std::ostream& to, const file_operation& operation) { return to << operation.name; }
};

class engine_files : public testing::TestWithParam<file_operation> {};

const file_operation update = {"update_signature", utm_app_update_signature, 46};
const file_operation import_statistics = {"import_statistics", utm_app_import_statistics, 50};
const file_operation export_statistics = {"export_statistics", utm_app_export_statistics, 51};

const auto name_of_file_operation = [](const auto& test) { return test.param.name; };
INSTANTIATE_TEST_SUITE_P(all, engine_files, testing::Values(update, import_statistics, export_statistics),
                         name_of_file_operation);

TEST_P(engine_files, path_travels_at_byte_8)
{
    config_daemons daemons;
    EXPECT_EQ(GetParam().run("/data/a file"), 0);
    EXPECT_EQ(daemons.told(), paths{app_path});
    EXPECT_EQ(daemons.request_of(app_path), app_request(GetParam().code).text(8, "/data/a file"));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(engine_files, path_of_127_characters_is_sent_with_its_terminator)
{
    config_daemons daemons;
    const std::string path(127, 'p');
    EXPECT_EQ(GetParam().run(path.c_str()), 0);
    EXPECT_EQ(daemons.request_of(app_path), app_request(GetParam().code).text(8, path));
}

TEST_P(engine_files, empty_path_is_sent)
{
    config_daemons daemons;
    EXPECT_EQ(GetParam().run(""), 0);
    EXPECT_EQ(daemons.request_of(app_path), app_request(GetParam().code));
}

TEST_P(engine_files, refusal_is_logged)
{
    config_daemons daemons({.app = 5});
    expect_failure(GetParam().run("/data/file"), EREMOTEIO);
    EXPECT_EQ(appcf_log(), refused(5) + GetParam().failed());
}

TEST_P(engine_files, absence_is_logged)
{
    impatient caller;
    expect_failure(GetParam().run("/data/file"), ENOENT);
    EXPECT_EQ(appcf_log(), unreachable() + GetParam().failed());
}

TEST_P(engine_files, silence_is_logged)
{
    config_daemons daemons;
    unheard caller;
    expect_failure(GetParam().run("/data/file"), ETIMEDOUT);
    EXPECT_EQ(appcf_log(), unanswered + GetParam().failed());
}

// Deliberate: a path that fills its field is cut there and has no terminator.
TEST(update_signature, path_of_128_characters_and_more_is_cut)
{
    config_daemons daemons;
    const std::string cut(128, 'p');
    EXPECT_EQ(utm_app_update_signature(cut.c_str()), 0);
    EXPECT_EQ(utm_app_update_signature((cut + "more").c_str()), 0);
    EXPECT_EQ(daemons.visits()[0].request, app_request(46).text(8, cut));
    EXPECT_EQ(daemons.visits()[1].request, app_request(46).text(8, cut));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(update_signature, null_is_refused_without_a_line)
{
    config_daemons daemons;
    expect_failure(utm_app_update_signature(nullptr), EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

class statistics : public testing::TestWithParam<file_operation> {};
INSTANTIATE_TEST_SUITE_P(all, statistics, testing::Values(import_statistics, export_statistics),
                         name_of_file_operation);

TEST_P(statistics, null_is_the_default_path)
{
    config_daemons daemons;
    EXPECT_EQ(GetParam().run(nullptr), 0);
    EXPECT_EQ(daemons.request_of(app_path), app_request(GetParam().code).text(8, default_path));
}

// Deliberate: a path that is too long is refused without a line.
TEST_P(statistics, path_of_128_characters_is_refused_without_a_line)
{
    config_daemons daemons;
    expect_failure(GetParam().run(std::string(128, 'p').c_str()), EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

struct status_words {
    uint32_t first = 1;
    uint32_t second = 2;
    uint32_t third = 3;

    int32_t read() { return utm_app_daemon_status(&first, &second, &third); }

    bool operator==(const status_words&) const = default;
};

constexpr char status_failed[] = "utm_app_daemon_status fail\n";

TEST(daemon_status, three_words_of_the_response)
{
    sim::bytes record = reply(0);
    put_u32(record, 236, 0xfffffff1);
    put_u32(record, 240, 0xfffffff2);
    put_u32(record, 244, 0xfffffff3);
    sim::scripted_daemon daemon(app_path, answer(records{record}));
    status_words status;
    EXPECT_EQ(status.read(), 0);
    EXPECT_EQ(status, (status_words{0xfffffff1, 0xfffffff2, 0xfffffff3}));
    EXPECT_EQ(daemon.requests(), records{app_request(47)});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(daemon_status, leaves_nothing_behind)
{
    sim::scripted_daemon daemon(app_path, answer(0));
    wrap::plan plan;
    status_words status;
    EXPECT_EQ(status.read(), 0);
    EXPECT_EQ(plan.count("malloc"), 1);
    EXPECT_EQ(plan.count("free"), 1);
}

TEST(daemon_status, absence_leaves_the_outputs)
{
    status_words status;
    expect_failure(status.read(), ENOENT);
    EXPECT_EQ(status, status_words{});
    EXPECT_EQ(appcf_log(), std::string(asked_nobody) + status_failed);
}

TEST(daemon_status, refusal_leaves_the_outputs)
{
    sim::scripted_daemon daemon(app_path, answer(5));
    status_words status;
    expect_failure(status.read(), EREMOTEIO);
    EXPECT_EQ(status, status_words{});
    EXPECT_EQ(appcf_log(), asked_and_refused(5) + status_failed);
}

TEST(daemon_status, silence_leaves_the_outputs)
{
    config_daemons daemons;
    unheard caller;
    status_words status;
    expect_failure(status.read(), ETIMEDOUT);
    EXPECT_EQ(status, status_words{});
    EXPECT_EQ(appcf_log(), std::string(asked_in_vain) + status_failed);
}

TEST(daemon_status, list_entry_is_a_failure)
{
    sim::scripted_daemon daemon(app_path, answer({reply(2), reply(0)}));
    status_words status;
    expect_failure(status.read(), EPROTO);
    EXPECT_EQ(status, status_words{});
    EXPECT_EQ(appcf_log(), std::string("[send_utm_event_and_get_response] app is NULL\n") + status_failed);
}

TEST(daemon_status, null_is_refused_before_anything_is_sent)
{
    config_daemons daemons;
    status_words status;
    expect_failure(utm_app_daemon_status(nullptr, &status.second, &status.third), EINVAL);
    expect_failure(utm_app_daemon_status(&status.first, nullptr, &status.third), EINVAL);
    expect_failure(utm_app_daemon_status(&status.first, &status.second, nullptr), EINVAL);
    EXPECT_EQ(status, status_words{});
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

constexpr char interval_failed[] = "utm_app_get_export_interval fail\n";

TEST(export_interval, word_of_the_response)
{
    sim::bytes record = reply(0);
    put_u32(record, 280, 0xfffffff1);
    sim::scripted_daemon daemon(app_path, answer(records{record}));
    uint32_t interval = 1;
    EXPECT_EQ(utm_app_get_export_interval(&interval), 0);
    EXPECT_EQ(interval, 0xfffffff1);
    EXPECT_EQ(daemon.requests(), records{app_request(48)});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(export_interval, list_that_comes_with_it_is_released)
{
    sim::scripted_daemon daemon(app_path, answer({reply(2), reply(2), reply(0)}));
    wrap::plan plan;
    uint32_t interval = 1;
    EXPECT_EQ(utm_app_get_export_interval(&interval), 0);
    EXPECT_EQ(plan.count("malloc"), 4) << "response, head and two entries";
    EXPECT_EQ(plan.count("free"), 4);
}

TEST(export_interval, absence_leaves_the_output)
{
    uint32_t interval = 1;
    expect_failure(utm_app_get_export_interval(&interval), ENOENT);
    EXPECT_EQ(interval, 1U);
    EXPECT_EQ(appcf_log(), std::string(asked_nobody) + interval_failed);
}

TEST(export_interval, refusal_leaves_the_output)
{
    sim::scripted_daemon daemon(app_path, answer(5));
    uint32_t interval = 1;
    expect_failure(utm_app_get_export_interval(&interval), EREMOTEIO);
    EXPECT_EQ(interval, 1U);
    EXPECT_EQ(appcf_log(), asked_and_refused(5) + interval_failed);
}

TEST(export_interval, silence_leaves_the_output)
{
    config_daemons daemons;
    unheard caller;
    uint32_t interval = 1;
    expect_failure(utm_app_get_export_interval(&interval), ETIMEDOUT);
    EXPECT_EQ(interval, 1U);
    EXPECT_EQ(appcf_log(), std::string(asked_in_vain) + interval_failed);
}

TEST(export_interval, null_is_refused_before_anything_is_sent)
{
    config_daemons daemons;
    expect_failure(utm_app_get_export_interval(nullptr), EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

} // namespace
