#include "tools/utmctl/completion.h"

#include "operations/function.h"
#include "tools/utmctl/arguments.h"
#include "tools/utmctl/command_line.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/help.h"
#include "tools/utmctl/log_entry.h"
#include "tools/utmctl/registry_view.h"

#include <algorithm>
#include <filesystem>

namespace {

using texts = std::vector<std::string>;

// A line as far as it is typed.
struct typed_line {
    const family* group = nullptr;
    const command* what = nullptr;
    texts arguments = {}; // of the command, without its options
    texts options = {};
    const argument* expecting = nullptr; // the option whose value comes next
    bool expects_value = false;          // of that option, or of a global one
    bool wrong = false;                  // a word that is no command
};

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

texts daemons(const typed_line&)
{
    texts names;
    for (const operations::daemon_row* one : operations::all_daemons)
        names.emplace_back(one->name);
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

// Of a command that another one takes.
texts held_words(const typed_line& line)
{
    texts words = line.arguments;
    words.emplace_back();
    return completions_of(words);
}

texts command_words(const typed_line& line)
{
    return line.arguments.size() > 1 ? texts() : held_words(line);
}

// Where the candidates for an argument come from: by its name, and the family and command that it belongs to.
struct source {
    const char* argument;
    const char* family;  // null: any
    const char* command; // null: any
    texts (*candidates)(const typed_line& line);
};

constexpr source sources[] = {
    {"COMMAND", "help", nullptr, command_words},
    {"COMMAND", "watch", nullptr, held_words},
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

bool is_option(const std::string& word)
{
    return word.starts_with('-') && word != "-";
}

// Of an option as help shows it, such as "-j, --json[=pretty]" or "    --timeout SECONDS", the names.
texts names_in(const std::string& shown)
{
    texts names;
    for (size_t at = shown.find('-'); at != std::string::npos; at = shown.find(" -", at)) {
        at = shown.find('-', at);
        const size_t end = std::min(shown.find_first_of(" ,[", at), shown.size());
        names.push_back(shown.substr(at, end - at));
        at = end;
    }
    return names;
}

bool takes_value(const global_option& one)
{
    return isupper(static_cast<unsigned char>(std::string_view(one.shown).back())) != 0;
}

bool is_global_with_value(const std::string& word)
{
    return std::any_of(std::begin(global_options), std::end(global_options), [&](const global_option& one) {
        const texts names = names_in(one.shown);
        return takes_value(one) && std::find(names.begin(), names.end(), word) != names.end();
    });
}

void take_option(typed_line& line, const std::string& word)
{
    line.options.push_back(word);
    line.expects_value = is_global_with_value(word);
    for (const argument& one : line.what != nullptr ? line.what->arguments : std::span<const argument>()) {
        if (one.name == word && one.count != occurs::flag) {
            line.expecting = &one;
            line.expects_value = true;
        }
    }
}

template <class Rows> auto find_word(const Rows& rows, const std::string& word)
{
    return std::find_if(rows.begin(), rows.end(), [&](const auto& one) { return word == one.word; });
}

void take_word(typed_line& line, const std::string& word)
{
    if (line.what != nullptr) {
        line.arguments.push_back(word);
        return;
    }
    if (line.group == nullptr) {
        const auto families = all_families();
        const auto found =
            std::find_if(families.begin(), families.end(), [&](const family* one) { return word == one->word; });
        line.wrong = found == families.end();
        line.group = line.wrong ? nullptr : *found;
        if (!line.wrong && is_one_word(*line.group))
            line.what = &line.group->commands.front();
        return;
    }
    const auto found = find_word(line.group->commands, word);
    line.wrong = found == line.group->commands.end();
    line.what = line.wrong ? nullptr : &*found;
}

typed_line read_line(const texts& words)
{
    typed_line line;
    for (const std::string& word : words) {
        if (line.wrong)
            break;
        if (line.expects_value) {
            line.expects_value = false;
            line.expecting = nullptr;
        } else if (is_option(word)) {
            take_option(line, word);
        } else {
            take_word(line, word);
        }
    }
    return line;
}

texts option_names(const typed_line& line)
{
    texts names;
    if (line.what != nullptr && line.what->destroys != nullptr)
        names.emplace_back("--yes");
    for (const argument& one : line.what != nullptr ? line.what->arguments : std::span<const argument>()) {
        if (is_option(one.name))
            names.emplace_back(one.name);
    }
    for (const global_option& one : global_options) {
        for (const std::string& name : names_in(one.shown))
            names.push_back(name);
        if (std::string(one.shown).ends_with("[=pretty]"))
            names.emplace_back("--json=pretty");
    }
    return names;
}

texts first_words()
{
    texts words;
    for (const family* one : all_families())
        words.emplace_back(one->word);
    return words;
}

texts second_words(const family& group)
{
    texts words;
    for (const command& one : group.commands)
        words.emplace_back(one.word);
    return words;
}

bool repeats(const argument& one)
{
    return one.count == occurs::at_least_once || one.count == occurs::any_number || one.count == occurs::command_line;
}

texts without(texts candidates, const texts& given)
{
    std::erase_if(candidates, [&](const std::string& one) {
        return one != names_of_files && std::find(given.begin(), given.end(), one) != given.end();
    });
    return candidates;
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

texts all_candidates(const typed_line& line, bool option)
{
    if (line.wrong)
        return {};
    if (line.expects_value)
        return line.expecting != nullptr ? candidates_for(*line.expecting, line) : texts();
    if (option)
        return without(option_names(line), line.options);
    if (line.group == nullptr)
        return first_words();
    if (line.what == nullptr)
        return second_words(*line.group);
    const argument* next = next_argument(line);
    if (next == nullptr)
        return {};
    const texts candidates = candidates_for(*next, line);
    return repeats(*next) ? without(candidates, line.arguments) : candidates;
}

} // namespace

std::vector<std::string> completions_of(std::vector<std::string> words)
{
    const std::string begun = words.empty() ? "" : words.back();
    if (!words.empty())
        words.pop_back();
    const typed_line line = read_line(words);
    texts candidates = all_candidates(line, begun.starts_with('-'));
    std::erase_if(candidates, [&](const std::string& one) { return one != names_of_files && !one.starts_with(begun); });
    std::sort(candidates.begin(), candidates.end());
    candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
    return candidates;
}
