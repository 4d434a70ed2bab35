#include "ir/ir.h"

#include "common/list.h"
#include "common/log.h"

namespace {

bool append_entry(utm_ir_entry* list, const utm_ir_list_record& record)
{
    auto* entry = create_node<utm_ir_entry>();
    if (entry == nullptr)
        return false;
    entry->value = record.value;
    entry->second_value = record.second_value;
    list_insert(entry, list);
    return true;
}

void receive_entries(const ir_connection& ir, utm_ir_entry* list)
{
    utm_ir_list_record record;
    while (ir.receive(record) && record.end == 0) {
        if (!append_entry(list, record))
            return;
    }
}

utm_ir_entry* query_entries(utm_ir_code code)
{
    ir_connection ir;
    if (!ir.established() || !ir.send({.code = code}))
        return nullptr;
    auto* list = create_list<utm_ir_entry>();
    if (list == nullptr)
        print_line("malloc failed\n");
    else
        receive_entries(ir, list);
    return list;
}

} // namespace

UTM_API utm_ir_entry* utm_ir_db_get_whitelist(void)
{
    return query_entries(UTM_IR_GET_WHITELIST);
}

UTM_API utm_ir_entry* utm_ir_db_get_blacklist(void)
{
    return query_entries(UTM_IR_GET_BLACKLIST);
}
