#include "tests/engines/devices.h"
#include "tests/wrap/wrap.h"

#include <cerrno>

namespace {

struct query {
    const char* name;
    utm_device* (*call)();
};

void PrintTo(const query& query, std::ostream* out)
{
    *out << query.name;
}

const query queries[] = {
    {"utm_devid_get_device_list", [] { return utm_devid_get_device_list(); }},
    {"utm_devid_get_device_list_by_ip", [] { return utm_devid_get_device_list_by_ip("10.1.1.1"); }},
    {"utm_devid_get_device_list_by_interface", [] { return utm_devid_get_device_list_by_interface("br0"); }},
    {"utm_devid_get_device_list_by_mac", [] { return utm_devid_get_device_list_by_mac("00:11:22:33:44:55"); }},
};

class device_query : public testing::TestWithParam<query> {
protected:
    devices ask() const { return devices(GetParam().call()); }
    std::string line(const char* text) const { return line_of(GetParam().name, text); }
};
INSTANTIATE_TEST_SUITE_P(queries, device_query, testing::ValuesIn(queries),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(device_query, gives_the_devices_in_the_order_in_which_they_came)
{
    engine_daemon daemon(devid_path, records{device("a"), device("b"), device("c"), end_marker(), device("d")});
    wrap::plan plan;
    EXPECT_EQ(names_of(ask()), (names{"a", "b", "c"}));
    EXPECT_EQ(plan.calls("send"), std::vector<std::string>{"send(392, 0)"});
    EXPECT_EQ(plan.calls("recv"), std::vector<std::string>(4, "recv(392, 0)"));
    EXPECT_EQ(plan.calls("malloc"), std::vector<std::string>(4, "malloc(368)"));
    EXPECT_EQ(plan.count("free"), 4);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(device_query, hands_the_record_over_unchanged)
{
    sim::bytes sent = devid_reply(7); // any result but -1 carries a device
    for (size_t i = 24; i < 376; i++)
        sent[i] = static_cast<uint8_t>(i);
    engine_daemon daemon(devid_path, records{sent, end_marker()});
    const devices list = ask();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(bytes_of(&list->next->record, 352), sim::bytes(sent.begin() + 24, sent.begin() + 376));
    EXPECT_EQ(address_at<utm_device*>(list.get(), 0), list->next); // previous first, then next
    EXPECT_EQ(address_at<utm_device*>(list->next, 8), list.get());
}

TEST_P(device_query, every_result_but_minus_1_carries_a_device)
{
    records sent;
    for (int32_t result : {0, 1, -2, INT32_MAX, INT32_MIN}) {
        sent.push_back(device("x"));
        put_u32(sent.back(), 384, static_cast<uint32_t>(result));
    }
    sent.push_back(end_marker());
    engine_daemon daemon(devid_path, sent);
    EXPECT_EQ(names_of(ask()), names(5, "x"));
}

TEST_P(device_query, failed_receive_gives_what_came_before)
{
    for (int nth : {1, 2, 3}) {
        engine_daemon daemon(devid_path, records{device("a"), device("b"), end_marker()});
        wrap::plan plan;
        plan.fail("recv", nth, EIO);
        const devices list = ask();
        EXPECT_EQ(names_of(list).size(), static_cast<size_t>(nth - 1));
        if (nth == 1) {
            EXPECT_EQ(list, nullptr);
            EXPECT_EQ(errno, EIO);
        }
    }
    EXPECT_EQ(devid_log(), line("recv fail") + line("recv fail") + line("recv fail"));
}

TEST_P(device_query, closed_connection_ends_the_list)
{
    {
        engine_daemon daemon(devid_path, records{device("a"), device("b")});
        EXPECT_EQ(names_of(ask()), (names{"a", "b"}));
    }
    engine_daemon daemon(devid_path, records{});
    EXPECT_EQ(ask(), nullptr);
    EXPECT_EQ(errno, ENODATA);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(device_query, short_record_is_no_device_and_ends_the_list)
{
    for (size_t size : {1U, 376U, 388U, 391U}) {
        engine_daemon daemon(devid_path, records{device("a"), first_bytes(device("b"), size)});
        EXPECT_EQ(names_of(ask()), names{"a"}) << size;
    }
    engine_daemon daemon(devid_path, records{first_bytes(end_marker(), 388)});
    EXPECT_EQ(ask(), nullptr);
    EXPECT_EQ(errno, EPROTO);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(device_query, without_a_daemon)
{
    EXPECT_EQ(ask(), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(devid_log(), line_of("connect_deviceid", "connect failed. Error") + line("connect to deviceid fail"));
}

TEST_P(device_query, failed_send)
{
    engine_daemon daemon(devid_path, records{end_marker()});
    wrap::plan plan;
    plan.fail("send", 1, ENOBUFS);
    EXPECT_EQ(ask(), nullptr);
    EXPECT_EQ(errno, ENOBUFS);
    EXPECT_EQ(plan.count("malloc"), 0);
    EXPECT_EQ(devid_log(), line("send fail"));
}

TEST_P(device_query, head_that_cannot_be_allocated)
{
    engine_daemon daemon(devid_path, records{end_marker()});
    wrap::plan plan;
    plan.fail("malloc", 1, ENOMEM);
    EXPECT_EQ(ask(), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(plan.count("recv"), 0);
    EXPECT_EQ(devid_log(), line("list init fail"));
}

// Deliberate: a device for which memory is short is left out, and the stream goes on.
TEST_P(device_query, device_that_cannot_be_allocated_is_left_out)
{
    engine_daemon daemon(devid_path, records{device("a"), device("b"), device("c"), end_marker()});
    wrap::plan plan;
    plan.fail("malloc", 3, ENOMEM); // head, first device, second device
    EXPECT_EQ(names_of(ask()), (names{"a", "c"}));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(device_query, without_memory_for_any_device_is_null)
{
    engine_daemon daemon(devid_path, records{device("a"), device("b"), end_marker()});
    wrap::plan plan;
    plan.fail("malloc", 2, ENOMEM);
    plan.fail("malloc", 3, ENOMEM);
    EXPECT_EQ(ask(), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(plan.count("malloc"), 3);
}

TEST_P(device_query, line_numbers_tell_messages_apart)
{
    expect_line_numbers_of_their_own(UTM_DEVID_LOG, GetParam().name, 4, [this] {
        fail_in_each_way([this] { ask(); }, devid_path, records{}, {"send", "recv", "malloc"});
    });
}

// Deliberate: an empty list is returned as null.
TEST(device_list, end_marker_alone_is_null)
{
    engine_daemon daemon(devid_path, records{end_marker()});
    wrap::plan plan;
    errno = EIO;
    EXPECT_EQ(utm_devid_get_device_list(), nullptr);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(plan.count("free"), 1);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(device_list, of_any_length_stands_in_order)
{
    for (size_t count : {1U, 1000U, 100000U}) {
        const auto send_all = [count](const sim::conversation& client) {
            for (size_t i = 0; i < count; i++)
                client.send(device(std::to_string(i)));
        };
        engine_daemon daemon(devid_path, sim::script{sim::receive(), send_all, sim::send(end_marker())});
        const names found = names_of(devices(utm_devid_get_device_list()));
        ASSERT_EQ(found.size(), count);
        size_t in_place = 0;
        for (size_t i = 0; i < count; i++)
            in_place += found[i] == std::to_string(i);
        EXPECT_EQ(in_place, count);
    }
}

TEST(device_list, is_released_from_the_last_device_to_the_head)
{
    utm_device* list = create_dev();
    list->next = list->prev = list;
    for (int i = 0; i < 3; i++) {
        utm_device* node = create_dev();
        node->next = list;
        node->prev = list->prev;
        list->prev->next = node;
        list->prev = node;
    }
    // Only who comes from the last device finds the way: to the others nothing leads forwards.
    for (utm_device* node = list->prev; node != list;) {
        node = node->prev;
        node->next = nullptr;
    }
    wrap::plan plan;
    utm_devid_free_device_list(list);
    EXPECT_EQ(plan.count("free"), 4);
}

TEST(device_list, release_of_null_and_of_an_empty_head)
{
    wrap::plan plan;
    utm_devid_free_device_list(nullptr);
    EXPECT_EQ(plan.count("free"), 0);
    utm_device* list = create_dev();
    list->next = list->prev = list;
    utm_devid_free_device_list(list);
    EXPECT_EQ(plan.count("free"), 1);
}

TEST(device_node, record_is_zero)
{
    utm_device* node = create_dev();
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(bytes_of(&node->record, 352), sim::bytes(352));
    free(node);
}

TEST(device_node, without_memory_is_null_and_prints_nothing)
{
    wrap::plan plan;
    plan.fail("malloc", 1, ENOMEM);
    EXPECT_EQ(create_dev(), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

} // namespace
