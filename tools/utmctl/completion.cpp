#include "tools/utmctl/completion.h"

#include "operations/function.h"
#include "tools/utmctl/arguments.h"
#include "tools/utmctl/columns.h"
#include "tools/utmctl/command_line.h"
#include "tools/utmctl/dry_run.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/log_entry.h"
#include "tools/utmctl/options.h"
#include "tools/utmctl/readings.h"
#include "tools/utmctl/registry_view.h"
#include "tools/utmctl/typed_line.h"

#include <algorithm>
#include <filesystem>

namespace {

using texts = std::vector<std::string>;

texts registered(uint32_t kind)
{
    texts ids;
    const utm_id_registry registry = registry_without_lock();
    for (const uint32_t id : ids_of(registry, kind)) {
        if (id != 0)
            ids.push_back(std::to_string(id));
    }
    return ids;
}

texts profiles(const typed_line&)
{
    return registered(UTM_ID_USER_PROFILE);
}

texts cf_policies(const typed_line&)
{
    return registered(UTM_ID_CF_POLICY);
}

texts app_policies(const typed_line&)
{
    return registered(UTM_ID_APP_POLICY);
}

texts ids_of_the_kind(const typed_line& line)
{
    const std::string& kind = line.arguments.front();
    return check_kind(kind).empty() ? registered(kind_of(kind).number) : texts();
}

texts kinds(const typed_line&)
{
    return {"profile", "cf-policy", "app-policy"};
}

texts states(const typed_line&)
{
    return {"on", "off"};
}

texts files(const typed_line&)
{
    return {names_of_files};
}

// All of them are one word, which leaves no other.
texts daemons(const typed_line& line)
{
    if (std::ranges::count(line.arguments, "all") > 0)
        return {};
    texts names;
    for (const operations::daemon_row* one : operations::all_daemons)
        names.emplace_back(one->name);
    if (line.arguments.empty())
        names.emplace_back("all");
    return names;
}

texts functions(const typed_line&)
{
    texts names;
    for (const operations::function_family& family : operations::function_families()) {
        for (const operations::function_row& one : family.functions())
            names.emplace_back(one.name());
    }
    return names;
}

// The words that stand for memory and for nothing, as the function takes them there.
texts words_of_function(const typed_line& line)
{
    const operations::function_row* function = operations::find_function(line.arguments.front());
    const size_t at = line.arguments.size() - 1;
    if (function == nullptr || at >= function->parsed().count)
        return {};
    const std::string described = function->by_words.word(at);
    texts words;
    for (const char* one : {operations::out_word, "attached"}) {
        if (described.starts_with(one))
            words.emplace_back(one);
    }
    if (described.ends_with(std::string("or ") + operations::null_word))
        words.emplace_back(operations::null_word);
    return words;
}

texts interfaces(const typed_line&)
{
    texts names;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/class/net", ignored))
        names.push_back(entry.path().filename());
    return names;
}

texts log_words(const typed_line&)
{
    texts words;
    for (const log_family& one : log_families)
        words.emplace_back(one.word);
    return words;
}

texts candidates_of(typed_line line);

texts words_to_explain(const typed_line& line)
{
    return line.arguments.size() > 1 ? texts() : candidates_of({.words = line.arguments});
}

texts words_to_watch(const typed_line& line)
{
    return candidates_of({.words = line.arguments, .watched = true});
}

// Where the candidates for an argument come from: by its name, and the family and command that it belongs to.
struct source {
    const char* argument;
    const char* family;  // null: any
    const char* command; // null: any
    texts (*candidates)(const typed_line& line);
};

constexpr source sources[] = {
    {"ARGUMENT", "call", nullptr, words_of_function},
    {"COMMAND", "help", nullptr, words_to_explain},
    {"COMMAND", "watch", nullptr, words_to_watch},
    {"DAEMON", nullptr, nullptr, daemons},
    {"FAMILY", "log", nullptr, log_words},
    {"FILE", nullptr, nullptr, files},
    {"PATH", nullptr, nullptr, files},
    {"-f", nullptr, nullptr, files},
    {"FUNCTION", nullptr, nullptr, functions},
    {"ID", "profile", "create", nullptr},
    {"ID", "profile", nullptr, profiles},
    {"ID", "registry", "reserve", nullptr},
    {"ID", "registry", nullptr, ids_of_the_kind},
    {"INTERFACE", nullptr, nullptr, interfaces},
    {"--interface", nullptr, nullptr, interfaces},
    {"KIND", nullptr, nullptr, kinds},
    {"POLICY", "app", nullptr, app_policies},
    {"POLICY", "cf", nullptr, cf_policies},
    {"POLICY", "profile", "bind-app", app_policies},
    {"POLICY", "profile", "bind-cf", cf_policies},
};

texts without(texts candidates, const texts& given)
{
    std::erase_if(candidates, [&](const std::string& one) {
        return one != names_of_files && std::find(given.begin(), given.end(), one) != given.end();
    });
    return candidates;
}

bool is(const char* wanted, const char* word)
{
    return wanted == nullptr || wanted == std::string(word);
}

texts candidates_for(const argument& one, const typed_line& line)
{
    if (one.check == check_state || one.check == check_switch)
        return states(line);
    const auto* found = std::find_if(std::begin(sources), std::end(sources), [&](const source& row) {
        return is(row.argument, one.name) && is(row.family, line.group->word) && is(row.command, line.what->word);
    });
    return found == std::end(sources) || found->candidates == nullptr ? texts() : found->candidates(line);
}

// What the line prints as it stands, if that is a table. It is rehearsed: an empty table has its headings, too.
texts headings_printed_by(const texts& words)
{
    command_line line;
    try {
        parse(words, line);
        const bool looks = line.what != nullptr && is_reading(line.asked.words);
        return looks ? rehearsed_headings(line.asked) : texts();
    } catch (const failure&) {
        return {};
    }
}

texts option_names(const typed_line& line)
{
    texts names = line.what != nullptr ? names_of_options(*line.what) : texts();
    for (const std::string& one : names_of_options())
        names.push_back(one);
    names.emplace_back("--json=pretty");
    return line.group == &watch_family ? without(names, {"--dry-run", "--explain"}) : names; // which it refuses
}

texts second_words(const family& group, bool watched)
{
    texts words;
    for (const command& one : group.commands) {
        if (!watched || hindrance_to_watch(words_of(group, one)) == nullptr)
            words.emplace_back(one.word);
    }
    return words;
}

texts first_words(bool watched)
{
    texts words;
    for (const family* one : all_families()) {
        if (!second_words(*one, watched).empty())
            words.emplace_back(one->word);
    }
    return words;
}

bool repeats(const argument& one)
{
    return one.count == occurs::at_least_once || one.count == occurs::any_number || one.count == occurs::command_line;
}

// The argument that comes next; the last one may occur again and again.
const argument* next_argument(const typed_line& line)
{
    size_t left = line.arguments.size();
    for (const argument& one : line.what->arguments) {
        if (!is_option(one.name) && (left == 0 || repeats(one)))
            return &one;
        left -= is_option(one.name) ? 0 : 1;
    }
    return nullptr;
}

// Of the words typed before --columns those of the command that prints: one that holds another leaves that to it.
texts words_of_table(const typed_line& line)
{
    const bool held = line.what != nullptr && !line.what->arguments.empty() &&
                      line.what->arguments.front().count == occurs::command_line;
    return held ? line.arguments : texts(line.words.begin(), line.words.end() - 1);
}

// Of the table that the command prints: its columns, behind those that are chosen already.
texts columns(const typed_line& line)
{
    const std::string chosen = line.begun.substr(0, line.begun.rfind(',') + 1);
    texts lists;
    for (const std::string& one : without(headings_printed_by(words_of_table(line)), headings_in(chosen)))
        lists.push_back(chosen + one);
    return lists;
}

texts values(const typed_line& line)
{
    if (line.expecting != nullptr)
        return candidates_for(*line.expecting, line);
    return line.words.back() == "--columns" ? columns(line) : texts();
}

texts all_candidates(const typed_line& line)
{
    if (line.wrong)
        return {};
    if (line.expects_value)
        return values(line);
    if (line.begun.starts_with('-') && !line.plain)
        return without(option_names(line), line.options);
    if (line.group == nullptr)
        return first_words(line.watched);
    if (line.what == nullptr)
        return second_words(*line.group, line.watched);
    const argument* next = next_argument(line);
    if (next == nullptr)
        return {};
    const texts candidates = candidates_for(*next, line);
    const bool differ = repeats(*next) && line.group != &call_family; // a function may take one word twice
    return differ ? without(candidates, line.arguments) : candidates;
}

texts candidates_of(typed_line line)
{
    read_words(line);
    return all_candidates(line);
}

} // namespace

std::vector<std::string> completions_of(std::vector<std::string> words)
{
    const std::string begun = words.empty() ? "" : words.back();
    if (!words.empty())
        words.pop_back();
    texts candidates = candidates_of({.words = std::move(words), .begun = begun});
    std::erase_if(candidates, [&](const std::string& one) { return one != names_of_files && !one.starts_with(begun); });
    std::sort(candidates.begin(), candidates.end());
    candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
    return candidates;
}
