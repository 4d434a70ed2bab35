// What the operations that read give when the daemon dies before it reads their request.

#include "kqutm/daemon.h"

#include "tests/engines/engines.h"
#include "tests/sandbox/printed.h"

#include <cstdlib>

namespace {

// What an operation gave, in one word. Keeps errno.
const char* word_for(void* block, const char* word)
{
    const int cause = errno;
    free(block);
    errno = cause;
    return block == nullptr ? "null" : word;
}

template <auto query> const char* ask_for_list()
{
    auto* list = query();
    return word_for(list, list != nullptr && list->next == list ? "empty" : "filled");
}

const char* ask_for_status()
{
    utm_ips_message* status = utm_ips_show_status();
    return word_for(status, status != nullptr && status->result == -1 ? "no success" : "success");
}

constexpr auto devices_by_ip = [] { return utm_devid_get_device_list_by_ip("127.0.0.1"); };
constexpr auto devices_by_interface = [] { return utm_devid_get_device_list_by_interface("br0"); };
constexpr auto devices_by_mac = [] { return utm_devid_get_device_list_by_mac("02:00:00:00:00:01"); };

struct reading {
    const char* name;
    const char* path;
    const char* (*read)();
    const char* gives;
    const char* log = nullptr; // null: the family has none
};

const reading readings[] = {
    {"utm_ips_show_status", ips_path, ask_for_status, "no success", UTM_IPS_LOG},
    {"utm_ips_show_customizelist", ips_path, ask_for_list<utm_ips_show_customizelist>, "empty", UTM_IPS_LOG},
    {"utm_devid_get_device_list", devid_path, ask_for_list<utm_devid_get_device_list>, "null", UTM_DEVID_LOG},
    {"utm_devid_get_device_list_by_ip", devid_path, ask_for_list<devices_by_ip>, "null", UTM_DEVID_LOG},
    {"utm_devid_get_device_list_by_interface", devid_path, ask_for_list<devices_by_interface>, "null", UTM_DEVID_LOG},
    {"utm_devid_get_device_list_by_mac", devid_path, ask_for_list<devices_by_mac>, "null", UTM_DEVID_LOG},
    {"utm_devid_get_latest_timestamp", devid_path,
     [] { return utm_devid_get_latest_timestamp() == 0 ? "null" : "a time"; }, "null", UTM_DEVID_LOG},
    {"utm_av_show_whitelist", av_path, ask_for_list<utm_av_show_whitelist>, "empty"},
    {"utm_av_show_cache", av_path, ask_for_list<utm_av_show_cache>, "empty"},
    {"utm_ir_db_get_whitelist", ir_path, ask_for_list<utm_ir_db_get_whitelist>, "empty"},
    {"utm_ir_db_get_blacklist", ir_path, ask_for_list<utm_ir_db_get_blacklist>, "empty"},
    {"utm_ir_show_db_status", ir_path, [] { return word_for(utm_ir_show_db_status(), "a version"); }, "null"},
};

void PrintTo(const reading& reading, std::ostream* out)
{
    *out << reading.name;
}

class dying_daemon : public testing::TestWithParam<reading> {};
INSTANTIATE_TEST_SUITE_P(readings, dying_daemon, testing::ValuesIn(readings),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(dying_daemon, is_a_failed_receive)
{
    const reading& reading = GetParam();
    deaf_daemon daemon(reading.path);
    wrap::plan plan;
    plan.before("recv", 1, [&] { daemon.die(); });
    const std::string printed = printed_by([&] {
        EXPECT_STREQ(reading.read(), reading.gives);
        EXPECT_EQ(errno, ECONNRESET);
    });
    EXPECT_EQ(plan.count("recv"), 1);
    EXPECT_EQ(printed, reading.path == std::string(ir_path) ? "recv failed\n" : "");
    if (reading.log != nullptr)
        EXPECT_EQ(log_without_numbers(reading.log), line_of(reading.name, "recv fail"));
    else
        EXPECT_FALSE(exists("/tmp/utm_log"));
}

} // namespace
