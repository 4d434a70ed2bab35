// An IR daemon that answers requests, shows the version of its database, or sends a list.

#include "fuzz/target.h"

namespace {

constexpr size_t status_at = 0;

// How many of the requests were accepted, one after the other.
size_t accepted(const fuzz::connection& daemon)
{
    return fuzz::records_with(daemon.sent(), status_at, 0).size();
}

// Descriptor 0 is no connection.
int32_t expected_switch_result(const fuzz::connection& daemon)
{
    if (!daemon.was_connected() || daemon.descriptor() == 0)
        return UTM_IR_NO_CONNECTION;
    if (daemon.sent().empty() || daemon.sent().front().data.empty())
        return UTM_IR_NO_EXCHANGE;
    return accepted(daemon) == 1 ? 0 : UTM_IR_REFUSED;
}

void check_switch(const fuzz::connection& daemon)
{
    const int32_t result = utm_ir_activate(1);
    fuzz::require(result == expected_switch_result(daemon), "success is a whole record of status 0");
}

void check_flush(const fuzz::connection& daemon)
{
    const bool done = utm_ir_flush(0) == 0;
    fuzz::require(done == (accepted(daemon) == 2), "a flush takes two records of status 0");
    fuzz::require(daemon.requests().size() <= accepted(daemon) + 1, "a flush ends where it is refused");
}

std::string version_in(const fuzz::bytes& record)
{
    const int32_t first = fuzz::value_at(record, 4);
    const int32_t second = fuzz::value_at(record, 8);
    const int32_t third = fuzz::value_at(record, 12);
    if (first == 0 && second != 0 && third == 0)
        return "none";
    return std::to_string(first) + '.' + std::to_string(second) + '.' + std::to_string(third);
}

void check_version(const fuzz::connection& daemon)
{
    char* const version = utm_ir_show_db_status();
    fuzz::require((version != nullptr) == (accepted(daemon) == 1), "a version is that of a whole record of status 0");
    fuzz::require(version == nullptr || version == version_in(*daemon.first_whole()),
                  "a version is what the daemon sent");
    free(version);
}

void check_list(const fuzz::connection& daemon)
{
    utm_ir_entry* const list = utm_ir_db_get_whitelist();
    fuzz::check_list(list, daemon, fuzz::records_with(daemon.sent(), status_at, 0),
                     [](utm_ir_entry& entry, const fuzz::bytes& record) {
                         memcpy(&entry.value, record.data() + 4, sizeof entry.value);
                         memcpy(&entry.second_value, record.data() + 8, sizeof entry.second_value);
                     });
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr void (*checks[])(const fuzz::connection&) = {check_switch, check_flush, check_version, check_list};
    fuzz::input input(data, size);
    const auto check = checks[input.byte() % std::size(checks)];
    fuzz::machine machine(input);
    check(machine.daemon());
    machine.expect_connection(machine.daemon().was_connected() && machine.daemon().descriptor() == 0);
    return 0;
}
