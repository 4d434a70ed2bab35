#include "event/event.h"

#include "common/errno_guard.h"
#include "common/list.h"
#include "common/log.h"

#include <cstdlib>
#include <cstring>

namespace {

using response = utm_event_response;
using app_usage = utm_app_usage_entry;
using weekday_limit = utm_weekday_limit_entry;
using prev_days = utm_app_usage_prev_days_entry;
using domain_browse = utm_domain_browse_entry;

constexpr int any_code = -1;

void trace_app_id(const response& record)
{
    utm_log(UTM_APPCF_LOG, "response->app.app_usage_prev_days.app_id: %d", static_cast<int>(record.prev_days_app_id));
}

void trace_domain(const response& record)
{
    constexpr int width = sizeof record.domain; // a domain may fill its field without a terminator
    utm_log(UTM_APPCF_LOG, "response->cf.domain_browse->domain: %.*s", width, record.domain);
}

// Deliberate: the trace lines have no newline, so the entries of one exchange run together on one line of the log.
// Deliberate: the weekday head reports its failure with the text of the earlier days.
constexpr list_kind list_kinds[] = {
    {.target = UTM_CONFIG_TARGET_APP,
     .code = UTM_APP_GET_USAGE_PREV_DAYS,
     .slot = offsetof(response, prev_days_list),
     .entry_size = sizeof(prev_days),
     .links = offsetof(prev_days, links),
     .to = offsetof(prev_days, app_id),
     .from = offsetof(response, prev_days_app_id),
     .size = sizeof(prev_days::app_id) + sizeof(prev_days::per_day_figures),
     .head_not_allocated = "[%s]app_prev_days malloc fail\n",
     .head_missing = "[%s] app_prev_days is NULL\n",
     .entry_not_allocated = "[%s] new_app_prev_days malloc fail\n",
     .trace = trace_app_id},
    {.target = UTM_CONFIG_TARGET_APP,
     .code = UTM_APP_GET_WEEKDAY_LIMITS,
     .slot = offsetof(response, weekday_limit_list),
     .entry_size = sizeof(weekday_limit),
     .links = offsetof(weekday_limit, links),
     .to = offsetof(weekday_limit, first_value),
     .from = offsetof(response, weekday_limit_values),
     .size = sizeof(response::weekday_limit_values),
     .head_not_allocated = "[%s]app_prev_days malloc fail\n",
     .head_missing = "[%s] app_weekday_limit is NULL\n",
     .entry_not_allocated = "[%s] new_app_weekday_limit malloc fail\n",
     .trace = nullptr},
    {.target = UTM_CONFIG_TARGET_APP, .code = UTM_APP_GET_DAEMON_STATUS, .head_missing = "[%s] app is NULL\n"},
    {.target = UTM_CONFIG_TARGET_APP,
     .code = any_code,
     .slot = offsetof(response, app_usage_list),
     .entry_size = sizeof(app_usage),
     .links = offsetof(app_usage, links),
     .to = offsetof(app_usage, first_value),
     .from = offsetof(response, app_usage_values),
     .size = sizeof(response::app_usage_values),
     .head_not_allocated = "[%s]app malloc fail\n",
     .head_missing = "[%s] app is NULL\n",
     .entry_not_allocated = "[%s] new_app malloc fail\n",
     .trace = nullptr},
    {.target = UTM_CONFIG_TARGET_CF,
     .code = UTM_CF_GET_BROWSED_DOMAINS,
     .slot = offsetof(response, domain_browse_list),
     .entry_size = sizeof(domain_browse),
     .links = offsetof(domain_browse, links),
     .to = offsetof(domain_browse, domain),
     .from = offsetof(response, domain),
     .size = sizeof(domain_browse::domain) + sizeof(domain_browse::value),
     .head_not_allocated = "[%s]domain_list malloc fail\n",
     .head_missing = "[%s] domain_list is NULL\n",
     .entry_not_allocated = "[%s] new_domain_list malloc fail\n",
     .trace = trace_domain},
};

const list_kind* find_list_kind(int target, int code)
{
    for (const list_kind& kind : list_kinds) {
        if (kind.target == target && (kind.code == code || kind.code == any_code))
            return &kind;
    }
    return nullptr;
}

template <class Entry> void free_list(Entry* head)
{
    static_assert(offsetof(Entry, links) == 0, "a link is also the address of its entry");
    if (head == nullptr)
        return;
    utm_list_links* end = &head->links;
    for (utm_list_links* entry = end->next; entry != end;) {
        utm_list_links* next = entry->next;
        list_remove(entry);
        free(entry);
        entry = next;
    }
    free(head);
}

} // namespace

response_list::response_list(int target, int code, const char* operation)
    : kind_(find_list_kind(target, code)), operation_(operation)
{
}

utm_list_links* response_list::links_of(char* entry) const
{
    return reinterpret_cast<utm_list_links*>(entry + kind_->links);
}

bool response_list::create_head()
{
    if (kind_ == nullptr || kind_->entry_size == 0)
        return true;
    head_ = static_cast<char*>(malloc(kind_->entry_size));
    if (head_ == nullptr) {
        utm_log(UTM_APPCF_LOG, kind_->head_not_allocated, operation_);
        return false;
    }
    list_init(links_of(head_));
    return true;
}

bool response_list::append(const utm_event_response& record)
{
    if (kind_ == nullptr)
        return true;
    if (head_ == nullptr) {
        utm_log(UTM_APPCF_LOG, kind_->head_missing, operation_);
        errno = EPROTO;
        return false;
    }
    char* entry = static_cast<char*>(malloc(kind_->entry_size));
    if (entry == nullptr) {
        utm_log(UTM_APPCF_LOG, kind_->entry_not_allocated, operation_);
        return false;
    }
    if (kind_->trace != nullptr)
        kind_->trace(record);
    memcpy(entry + kind_->to, reinterpret_cast<const char*>(&record) + kind_->from, kind_->size);
    list_insert(links_of(entry), links_of(head_));
    return true;
}

void response_list::hand_over(utm_event_response& response) const
{
    if (head_ != nullptr)
        memcpy(reinterpret_cast<char*>(&response) + kind_->slot, &head_, sizeof head_);
}

UTM_API void utm_user_profile_free_app_usage_list(utm_app_usage_entry* head)
{
    free_list(head);
}

UTM_API void utm_user_profile_free_weekday_limit_list(utm_weekday_limit_entry* head)
{
    free_list(head);
}

UTM_API void utm_user_profile_free_app_usage_prev_days_list(utm_app_usage_prev_days_entry* head)
{
    free_list(head);
}
