#include "tests/wire/engines.h"

#include <cstdlib>

namespace {

template <class Operation> sim::bytes request(Operation operation)
{
    return request_of("/tmp/utm_ips", operation);
}

TEST(ips_message, switches)
{
    EXPECT_EQ(request([] { utm_ips_activate(0); }), record(316, {}));
    EXPECT_EQ(request([] { utm_ips_activate(1); }), record(316, {{4, 1}}));
    EXPECT_EQ(request([] { utm_ips_debug(0); }), record(316, {{0, 7}}));
    EXPECT_EQ(request([] { utm_ips_debug(1); }), record(316, {{0, 7}, {12, 1}}));
}

TEST(ips_message, bare_codes)
{
    EXPECT_EQ(request([] { free(utm_ips_show_status()); }), record(316, {{0, 2}}));
    EXPECT_EQ(request([] { free(utm_ips_show_customizelist()); }), record(316, {{0, 5}}));
    EXPECT_EQ(request([] { utm_ips_reset(); }), record(316, {{0, 8}}));
}

TEST(ips_message, rule_lists)
{
    EXPECT_EQ(request([] { utm_ips_set_whitelist("1234567890", 1); }),
              record_with_text(316, 20, "1234567890", {{0, 3}, {52, 1}}));
    EXPECT_EQ(request([] { utm_ips_set_blacklist("7", 0); }), record_with_text(316, 20, "7", {{0, 4}}));
}

TEST(ips_message, rule_identifier_of_15_characters_is_cut_to_10)
{
    EXPECT_EQ(request([] { utm_ips_set_whitelist("123456789012345", 0); }),
              record_with_text(316, 20, "1234567890", {{0, 3}}));
    EXPECT_EQ(request([] { utm_ips_set_blacklist("123456789012345", 1); }),
              record_with_text(316, 20, "1234567890", {{0, 4}, {52, 1}}));
}

TEST(ips_message, signature_path)
{
    EXPECT_EQ(request([] { utm_ips_update_signature("/tmp/sig"); }), record_with_text(316, 56, "/tmp/sig", {{0, 6}}));
    for (size_t length : {255U, 256U, 400U}) {
        const std::string path(length, 'p');
        EXPECT_EQ(request([&] { utm_ips_update_signature(path.c_str()); }),
                  record_with_text(316, 56, path.substr(0, 255), {{0, 6}}));
    }
}

TEST(ips_message, flush_modes)
{
    EXPECT_EQ(request([] { utm_ips_flush(0); }), record(316, {{0, 9}}));
    EXPECT_EQ(request([] { utm_ips_flush(1); }), record(316, {{0, 9}, {16, 1}}));
    EXPECT_EQ(request([] { utm_ips_flush(2); }), record(316, {{0, 9}, {16, 2}}));
}

} // namespace
