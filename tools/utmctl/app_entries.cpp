#include "tools/utmctl/app_entries.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/config_deed.h"
#include "tools/utmctl/progress.h"

#include <algorithm>

namespace {

constexpr const config_daemon& application = config_daemons[UTM_CONFIG_TARGET_APP];

kqutm::app_policy_id policy_of(const request& asked)
{
    return id_of<kqutm::app_policy_id>(asked.one("POLICY"));
}

std::string name_of_policy(const request& asked)
{
    return "application policy " + asked.one("POLICY");
}

void empty_policy(const request& asked, const char* participle)
{
    exchange({name_of_policy(asked), participle}, application, asked.timeout,
             [&] { return as_json(kqutm::applications::set_entries(policy_of(asked), {})); });
}

std::vector<kqutm::applications::entry> entries_in(std::span<const text_entry> record)
{
    std::vector<kqutm::applications::entry> entries(record.size());
    for (size_t at = 0; at < record.size(); ++at)
        std::ranges::copy(parse_hex(record[at].text).value(), entries[at].begin());
    return entries;
}

// The entries that one record carries, so that it is known which of them the daemon refused.
void add_record(const request& asked, std::span<const text_entry> record)
{
    const text_entry& first = record.front();
    const deed_words words = {"the record of " + std::to_string(record.size()) + " entries from '" + first.text + "'" +
                                  place_of(first, asked) + " of " + name_of_policy(asked),
                              "added"};
    exchange(words, application, asked.timeout,
             [&] { return as_json(kqutm::applications::add_entries(policy_of(asked), entries_in(record))); });
}

std::string counted(size_t entries)
{
    return std::to_string(entries) + (entries == 1 ? " entry" : " entries");
}

// How the commands that send entries tell what they did.
struct entry_work {
    const char* member; // of the result, which counts them
    const char* participle;
    const char* left; // what stays of the policy's entries when a record fails
    bool emptied;
};

constexpr entry_work setting = {"entries", "set as those of", " before it were set, and the old entries are gone",
                                true};
constexpr entry_work adding = {"added", "added to", " before it stayed", false};

outcome told_of(const entry_work& work, const request& asked, size_t sent)
{
    return {.result = {{"policy", policy_of(asked).number()}, {work.member, sent}},
            .confirmations = {counted(sent) + " " + work.participle + " " + name_of_policy(asked)}};
}

// The first record that fails ends it. What was changed before stays, which makes it done in part.
outcome send_all(const entry_work& work, const request& asked, std::span<const text_entry> entries)
{
    progress shown(entries.size());
    size_t sent = 0;
    try {
        for (size_t size; sent < entries.size(); sent += size, shown.show(sent)) {
            size = std::min<size_t>(entries.size() - sent, UTM_APP_ENTRIES_PER_RECORD);
            add_record(asked, entries.subspan(sent, size));
        }
    } catch (const failure& failed) {
        outcome told = told_of(work, asked, sent);
        told.status = work.emptied || sent > 0 ? exit_status::done_in_part : failed.why().status;
        told.confirmations.clear();
        told.problems = {failed.why()};
        told.problems.front().what += " (" + counted(sent) + work.left + ")";
        return told;
    }
    return told_of(work, asked, sent);
}

} // namespace

outcome set_entries(const request& asked)
{
    const auto entries = texts_of(asked, app_entries, name_of_policy(asked) + " was not given its entries");
    if (entries.empty())
        refuse_usage("app set-entries: " + asked.one(texts_from_file.name) + " names no entry",
                     "'utmctl app clear-entries' empties a policy");
    empty_policy(asked, "cleared for its new entries");
    return send_all(setting, asked, entries);
}

outcome add_entries(const request& asked)
{
    const auto entries = texts_of(asked, app_entries, name_of_policy(asked) + " was not given more entries");
    return send_all(adding, asked, entries);
}

outcome clear_entries(const request& asked)
{
    empty_policy(asked, "emptied");
    return {.result = {{"policy", policy_of(asked).number()}}, .confirmations = {name_of_policy(asked) + " emptied"}};
}
