// An IPS daemon that sends its list of rules.

#include "fuzz/target.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t name_at = 31;
    constexpr size_t name_length = 20;
    constexpr size_t result_at = 312;
    const fuzz::machine machine(fuzz::input(data, size));
    utm_ips_rule* const list = utm_ips_show_customizelist();
    fuzz::check_list(list, machine.daemon(), fuzz::records_with(machine.daemon().sent(), result_at, UTM_IPS_LIST_ENTRY),
                     [](utm_ips_rule& rule, const fuzz::bytes& record) {
                         fuzz::copy_text(rule.name, record, name_at, name_length);
                     });
    return 0;
}
