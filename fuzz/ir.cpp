// An IR daemon that answers requests, shows the version of its database, or sends a list.

#include "fuzz/target.h"

namespace {

bool is_accepted(const fuzz::machine& machine, size_t number)
{
    const auto& sent = machine.sent();
    return sent.size() > number && sent[number].whole && fuzz::value_at(sent[number].data, 0) == 0;
}

void check_command(const fuzz::machine& machine)
{
    fuzz::require((utm_ir_activate(1) == 0) == is_accepted(machine, 0), "success is a whole record of status 0");
}

void check_flush(const fuzz::machine& machine)
{
    const bool done = utm_ir_flush(0) == 0;
    fuzz::require(done == (is_accepted(machine, 0) && is_accepted(machine, 1)),
                  "a flush takes two records of status 0");
}

void check_version(const fuzz::machine& machine)
{
    char* const version = utm_ir_show_db_status();
    fuzz::require((version != nullptr) == is_accepted(machine, 0), "a version is that of a whole record of status 0");
    fuzz::require(version == nullptr || strlen(version) < 128, "a version is a text");
    free(version);
}

void check_list(const fuzz::machine& machine)
{
    utm_ir_entry* const list = utm_ir_db_get_whitelist();
    fuzz::require(list != nullptr, "a list is returned as far as it came");
    fuzz::require(fuzz::count_and_free(list) == fuzz::leading_records(machine.sent(), 0, 0),
                  "an entry for each record that carries one");
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr void (*checks[])(const fuzz::machine&) = {check_command, check_flush, check_version, check_list};
    fuzz::input input(data, size);
    const auto check = checks[input.byte() % std::size(checks)];
    check(fuzz::machine(input));
    return 0;
}
