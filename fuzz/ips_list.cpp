// An IPS daemon that sends its list of rules.

#include "fuzz/target.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::machine machine(fuzz::input(data, size));
    utm_ips_rule* const list = utm_ips_show_customizelist();
    fuzz::require(list != nullptr, "a list is returned as far as it came");
    for (const utm_ips_rule* rule = list->next; rule != list; rule = rule->next)
        fuzz::require(strnlen(rule->name, sizeof rule->name) < sizeof rule->name, "a name ends in its field");
    fuzz::require(fuzz::count_and_free(list) == fuzz::leading_records(machine.sent(), 312, UTM_IPS_LIST_ENTRY),
                  "a rule for each record that carries one");
    return 0;
}
