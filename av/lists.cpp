#include "av/av.h"

#include "common/list.h"
#include "common/log.h"
#include "common/text.h"

namespace {

void append_whitelist_entry(utm_av_entry* list, utm_av_entry* entry, const utm_av_message& record)
{
    move_text(entry->whitelist_entry, record.text);
    list_insert(entry, list);
}

// Deliberate: the cache list puts the newest first, the whitelist last.
void prepend_cache_entry(utm_av_entry* list, utm_av_entry* entry, const utm_av_message& record)
{
    move_text(entry->cache_key, record.text);
    move_text(entry->cache_value, record.cache_value);
    list_insert(entry, list->next);
}

using insert_entry = void(utm_av_entry* list, utm_av_entry* entry, const utm_av_message& record);

void receive_entries(const unique_fd& av, utm_av_entry* list, insert_entry* insert)
{
    for (;;) {
        utm_av_message record;
        receive_record(av, record, &utm_av_message::status, -1);
        if (record.status == -1)
            return;
        utm_av_entry* entry = av_create_node();
        if (entry == nullptr)
            return;
        insert(list, entry, record);
    }
}

utm_av_entry* query_entries(utm_av_code code, insert_entry* insert)
{
    unique_fd av = request_from_av({.code = code});
    if (av.get() < 0)
        return nullptr;
    auto* list = create_list<utm_av_entry>();
    if (list != nullptr)
        receive_entries(av, list, insert);
    return list;
}

} // namespace

UTM_API utm_av_entry* av_create_node(void)
{
    auto* entry = create_node<utm_av_entry>();
    if (entry == nullptr)
        print_line("malloc show queue node fail\n");
    return entry;
}

UTM_API utm_av_entry* utm_av_show_cache(void)
{
    return query_entries(UTM_AV_SHOW_CACHE, prepend_cache_entry);
}

UTM_API utm_av_entry* utm_av_show_whitelist(void)
{
    return query_entries(UTM_AV_SHOW_WHITELIST, append_whitelist_entry);
}
