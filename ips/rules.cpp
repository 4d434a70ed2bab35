#include "ips/ips.h"

#include "common/list.h"
#include "common/log.h"
#include "common/text.h"

namespace {

bool append_rule(utm_ips_rule* list, const utm_ips_message& record)
{
    utm_ips_rule* rule = ips_create_node();
    if (rule == nullptr)
        return false;
    // The field fits the name, but the last of its bytes is the terminator's.
    static_assert(sizeof rule->name == sizeof record.rule_name);
    memcpy(rule->name, record.rule_name, strnlen(record.rule_name, sizeof rule->name - 1));
    list_insert(rule, list);
    return true;
}

void receive_rules(const unique_fd& ips, utm_ips_rule* list, const char* operation)
{
    for (;;) {
        utm_ips_message record;
        if (receive_record(ips, record, &utm_ips_message::result, int32_t(UTM_IPS_LIST_END)) < 0)
            return log_at_line(engines::ips, operation, "recv fail\n");
        if (record.result == UTM_IPS_LIST_FULL)
            return log_at_line(engines::ips, operation, "Reach maximum customizelist rule number\n");
        // Deliberate: a list that ends in the usual way is logged like a failure.
        if (record.result != UTM_IPS_LIST_ENTRY)
            return log_at_line(engines::ips, operation, "without white list\n");
        if (!append_rule(list, record))
            return;
    }
}

} // namespace

UTM_API utm_ips_rule* ips_create_node(void)
{
    auto* rule = create_node<utm_ips_rule>();
    if (rule == nullptr)
        print_line("malloc show queue node fail\n");
    return rule;
}

UTM_API utm_ips_rule* utm_ips_show_customizelist(void)
{
    unique_fd ips = request_from_ips({.code = UTM_IPS_SHOW_CUSTOMIZELIST}, __func__);
    if (ips.get() < 0)
        return nullptr;
    auto* list = create_list<utm_ips_rule>();
    if (list == nullptr) {
        log_at_line(engines::ips, __func__, "list init fail\n");
        return nullptr;
    }
    receive_rules(ips, list, __func__);
    return list;
}
