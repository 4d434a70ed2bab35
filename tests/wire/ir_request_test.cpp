#include "tests/wire/engines.h"

#include <cstdlib>

namespace {

template <class Operation> sim::bytes request(Operation operation)
{
    return request_of("/tmp/utm_ir", operation);
}

// Deliberate: code 0 switches on and 1 off, and likewise 6 and 7 for debugging.
TEST(ir_request, switches)
{
    EXPECT_EQ(request([] { utm_ir_activate(1); }), record(132, {}));
    EXPECT_EQ(request([] { utm_ir_activate(0); }), record(132, {{0, 1}}));
    EXPECT_EQ(request([] { utm_ir_debug(1); }), record(132, {{0, 6}}));
    EXPECT_EQ(request([] { utm_ir_debug(0); }), record(132, {{0, 7}}));
}

TEST(ir_request, values)
{
    EXPECT_EQ(request([] { utm_ir_db_set_update_check_freq(0x04030201); }),
              record(132, {{0, 2}, {4, 1}, {5, 2}, {6, 3}, {7, 4}}));
    EXPECT_EQ(request([] { utm_ir_db_set_update_check_freq(0); }), record(132, {{0, 2}}));
    EXPECT_EQ(request([] { utm_ir_db_set_max_size_mb(20); }), record(132, {{0, 3}, {4, 20}}));
    EXPECT_EQ(request([] { utm_ir_db_set_max_size_mb(-2); }),
              record(132, {{0, 3}, {4, 0xfe}, {5, 0xff}, {6, 0xff}, {7, 0xff}}));
    EXPECT_EQ(request([] { utm_ir_db_set_threat_category(0x04030201); }),
              record(132, {{0, 12}, {4, 1}, {5, 2}, {6, 3}, {7, 4}}));
}

TEST(ir_request, lists)
{
    const auto expected = [](uint8_t code) {
        return record(132, {{0, code}, {4, 1}, {5, 2}, {6, 3}, {7, 4}, {8, 0xbb}, {9, 0xaa}});
    };
    EXPECT_EQ(request([] { utm_ir_db_set_whitelist(0x04030201, 0xaabb, 0); }), expected(8));
    EXPECT_EQ(request([] { utm_ir_db_set_whitelist(0x04030201, 0xaabb, 1); }), expected(9));
    EXPECT_EQ(request([] { utm_ir_db_set_blacklist(0x04030201, 0xaabb, 0); }), expected(13));
    EXPECT_EQ(request([] { utm_ir_db_set_blacklist(0x04030201, 0xaabb, 1); }), expected(14));
}

TEST(ir_request, bare_codes)
{
    EXPECT_EQ(request([] { utm_ir_flush(1); }), record(132, {{0, 11}}));
    EXPECT_EQ(request([] { utm_ir_flush(2); }), record(132, {{0, 15}}));
    EXPECT_EQ(request([] { free(utm_ir_db_get_whitelist()); }), record(132, {{0, 16}}));
    EXPECT_EQ(request([] { free(utm_ir_db_get_blacklist()); }), record(132, {{0, 17}}));
    EXPECT_EQ(request([] { free(utm_ir_show_db_status()); }), record(132, {{0, 19}}));
}

TEST(ir_request, database_path)
{
    EXPECT_EQ(request([] { utm_ir_load_db("/tmp/ir.db"); }), record_with_text(132, 4, "/tmp/ir.db", {{0, 18}}));
    EXPECT_EQ(request([] { utm_ir_load_db(""); }), record(132, {{0, 18}}));
}

// Deliberate: a path of 128 characters or more fills its field and has no terminator.
TEST(ir_request, long_database_path)
{
    for (size_t length : {127U, 128U, 129U, 300U}) {
        const std::string path(length, 'p');
        EXPECT_EQ(request([&] { utm_ir_load_db(path.c_str()); }),
                  record_with_text(132, 4, path.substr(0, 128), {{0, 18}}));
    }
}

} // namespace
