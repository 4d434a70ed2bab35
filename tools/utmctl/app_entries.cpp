#include "tools/utmctl/app_entries.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/config_deed.h"
#include "tools/utmctl/progress.h"

#include <algorithm>

namespace {

constexpr const config_daemon& application = config_daemons[UTM_CONFIG_TARGET_APP];

uint32_t policy_of(const request& asked)
{
    return static_cast<uint32_t>(id_of(asked.one("POLICY")));
}

std::string name_of_policy(const request& asked)
{
    return "application policy " + asked.one("POLICY");
}

void empty_policy(const request& asked)
{
    exchange({name_of_policy(asked), "emptied"}, application, asked.timeout,
             [&] { return accepted(utm_app_policy_config_init_block(policy_of(asked), nullptr, 0)); });
}

// The entries that one record carries, so that it is known which of them the daemon refused.
void add_record(const request& asked, std::span<const text_entry> record)
{
    const text_entry& first = record.front();
    const deed_words words = {"the record of " + std::to_string(record.size()) + " entries from '" + first.text + "'" +
                                  place_of(first, asked) + " of " + name_of_policy(asked),
                              "added"};
    const std::vector<uint8_t> bytes = bytes_of({record.begin(), record.end()});
    exchange(words, application, asked.timeout, [&] {
        return accepted(
            utm_app_policy_config_block(policy_of(asked), bytes.data(), static_cast<int32_t>(record.size())));
    });
}

std::string counted(size_t entries)
{
    return std::to_string(entries) + (entries == 1 ? " entry" : " entries");
}

outcome told_of(const request& asked, size_t added)
{
    return {.result = {{"policy", policy_of(asked)}, {"added", added}},
            .confirmations = {counted(added) + " added to " + name_of_policy(asked)}};
}

// The first record that fails ends it. What was changed before stays, which makes it done in part.
outcome add_all(const request& asked, std::span<const text_entry> entries, bool changed)
{
    progress shown(entries.size());
    size_t added = 0;
    try {
        for (size_t size; added < entries.size(); added += size, shown.show(added)) {
            size = std::min<size_t>(entries.size() - added, UTM_APP_ENTRIES_PER_RECORD);
            add_record(asked, entries.subspan(added, size));
        }
    } catch (const failure& failed) {
        outcome told = told_of(asked, added);
        told.status = changed || added > 0 ? exit_status::done_in_part : failed.why().status;
        told.confirmations.clear();
        told.problems = {failed.why()};
        told.problems.front().what += " (" + counted(added) + " before it stayed)";
        return told;
    }
    return told_of(asked, added);
}

} // namespace

outcome set_entries(const request& asked)
{
    const auto entries = texts_of(asked, app_entries, name_of_policy(asked) + " was not given its entries");
    empty_policy(asked);
    return add_all(asked, entries, true);
}

outcome add_entries(const request& asked)
{
    const auto entries = texts_of(asked, app_entries, name_of_policy(asked) + " was not given more entries");
    return add_all(asked, entries, false);
}

outcome clear_entries(const request& asked)
{
    empty_policy(asked);
    return {.result = {{"policy", policy_of(asked)}}, .confirmations = {name_of_policy(asked) + " emptied"}};
}
