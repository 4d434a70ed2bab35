#pragma once

#include "tests/sandbox/lists.h"
#include "tests/sandbox/profiles.h"

#include <functional>

// What the tests of content filtering and application control have in common.

// A request, zero but for what is put at literal offsets.
class request {
public:
    request(size_t size, uint8_t code) : record_(size) { record_[0] = code; }

    request& u32(size_t offset, uint32_t value)
    {
        put_u32(record_, offset, value);
        return *this;
    }

    request& text(size_t offset, const std::string& text)
    {
        put_text(record_, offset, text);
        return *this;
    }

    operator sim::bytes() const { return record_; }

    friend bool operator==(const sim::bytes& found, const request& expected) { return found == expected.record_; }

private:
    sim::bytes record_;
};

inline request cf_request(uint8_t code)
{
    return {2056, code};
}

inline request app_request(uint8_t code)
{
    return {136, code};
}

// What the reader logs of a daemon that refuses, of one that is not there, and of one that does not answer in time.
inline std::string asked_and_refused(int status)
{
    return "[send_utm_event_and_get_response]error code = " + std::to_string(status) + "\n";
}

inline constexpr char asked_nobody[] = "[send_utm_event_and_get_response]connect fail: No such file or directory\n";
inline constexpr char asked_in_vain[] = "[send_utm_event_and_get_response]select() timeout\n";
inline constexpr char broken_off[] = "[send_utm_event_and_get_response]read response fail\n";

// What a refused operation returns, and the cause it leaves.
inline void expect_failure(int32_t result, int cause)
{
    const int found = errno;
    EXPECT_EQ(result, -1);
    EXPECT_EQ(found, cause);
}

// Takes a request, and sends as many records as make(0), make(1) and so on, before the one that ends them.
inline sim::script stream(uint32_t count, const std::function<sim::bytes(uint32_t)>& make)
{
    const auto send_all = [=](const sim::conversation& client) {
        for (uint32_t number = 0; number < count; ++number)
            client.send(make(number));
        client.send(reply(0));
    };
    return {sim::receive(), send_all};
}

// A gateway on which a profile and the two policies of the tests are registered.
inline void register_profile_and_policies()
{
    register_ids({{profiles + 3, 7}, {cf_policies + 5, 20}, {app_policies + 6, 30}});
}
