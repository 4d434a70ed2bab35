#include "tools/utmctl/cf_lists.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/config_deed.h"
#include "tools/utmctl/progress.h"

namespace {

constexpr const config_daemon& content_filter = config_daemons[UTM_CONFIG_TARGET_CF];

using kqutm::filter::list_of_domains;
using kqutm::filter::list_of_urls;

kqutm::cf_policy_id policy_of(const request& asked)
{
    return id_of<kqutm::cf_policy_id>(asked.one("POLICY"));
}

std::string owner_of_list(const request& asked)
{
    return asked.values.contains("POLICY") ? " of " + named(policy_of(asked)) : "";
}

template <list_of_urls list> kqutm::result<kqutm::done> add_to(const request&, const std::string& url)
{
    return kqutm::filter::add(list, url);
}

template <list_of_urls list> kqutm::result<kqutm::done> remove_from(const request&, const std::string& url)
{
    return kqutm::filter::remove(list, url);
}

template <list_of_domains list> kqutm::result<kqutm::done> add_to(const request& asked, const std::string& text)
{
    return kqutm::filter::add(policy_of(asked), list, text);
}

template <list_of_domains list> kqutm::result<kqutm::done> remove_from(const request& asked, const std::string& text)
{
    return kqutm::filter::remove(policy_of(asked), list, text);
}

// What becomes of the texts of one command.
struct list_work {
    const list_change& row;
    const request& asked;
    size_t changed = 0;
    outcome sum = {.result = json::array()};
};

json json_of(const text_entry& entry, exit_status status)
{
    return {{"text", entry.text}, {"line", entry.line == 0 ? json() : json(entry.line)}, {"status", word_of(status)}};
}

// False when the daemon is out of reach, and would be for every further text.
bool change_one(list_work& work, const text_entry& entry)
{
    const deed_words words = {work.row.noun + (" " + in_quotes(entry.text)) + place_of(entry, work.asked) +
                                  owner_of_list(work.asked),
                              work.row.participle};
    try {
        exchange(words, content_filter, work.asked.timeout,
                 [&] { return as_json(work.row.call(work.asked, entry.text)); });
        ++work.changed;
        add(work.sum, {.result = json_of(entry, exit_status::done)});
        return true;
    } catch (const failure& failed) {
        const exit_status status = failed.why().status;
        add(work.sum, {.status = status, .result = json_of(entry, status), .problems = {failed.why()}});
        return status == exit_status::refused;
    }
}

// "2 trusted URLs"
std::string counted(size_t count, const std::string& noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

void tell_left_out(list_work& work, size_t left_out)
{
    if (left_out > 0)
        work.sum.problems.back().what += ", and " + counted(left_out, work.row.noun) + " after it " +
                                         (left_out == 1 ? "was" : "were") + " not tried";
}

} // namespace

constinit const list_change add_trusted_url = {urls, "trusted URL", "added", add_to<list_of_urls::trusted>};
constinit const list_change del_trusted_url = {urls, "trusted URL", "deleted", remove_from<list_of_urls::trusted>};
constinit const list_change add_forbidden_url = {urls, "forbidden URL", "added", add_to<list_of_urls::forbidden>};
constinit const list_change del_forbidden_url = {urls, "forbidden URL", "deleted",
                                                 remove_from<list_of_urls::forbidden>};
constinit const list_change add_trusted_domain = {domains, "trusted domain", "added", add_to<list_of_domains::trusted>};
constinit const list_change del_trusted_domain = {domains, "trusted domain", "deleted",
                                                  remove_from<list_of_domains::trusted>};
constinit const list_change add_forbidden_domain = {domains, "forbidden domain", "added",
                                                    add_to<list_of_domains::forbidden>};
constinit const list_change del_forbidden_domain = {domains, "forbidden domain", "deleted",
                                                    remove_from<list_of_domains::forbidden>};
constinit const list_change add_keyword = {keywords, "keyword", "added", add_to<list_of_domains::keywords>};
constinit const list_change del_keyword = {keywords, "keyword", "deleted", remove_from<list_of_domains::keywords>};

// Every text is tried, unless the daemon is out of reach: then each further one would only cost its time.
outcome change_list(const list_change& row, const request& asked)
{
    list_work work = {.row = row, .asked = asked};
    const std::vector<text_entry> entries =
        texts_of(asked, row.texts, std::string("no ") + row.noun + " was " + row.participle);
    progress shown(entries.size());
    for (size_t tried = 0; tried < entries.size(); shown.show(++tried)) {
        if (!change_one(work, entries[tried])) {
            tell_left_out(work, entries.size() - tried - 1);
            break;
        }
    }
    if (work.changed > 0)
        work.sum.confirmations = {counted(work.changed, row.noun) + owner_of_list(asked) + " " + row.participle};
    return std::move(work.sum);
}
