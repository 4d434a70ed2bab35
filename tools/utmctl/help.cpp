#include "tools/utmctl/help.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/lookup.h"
#include "tools/utmctl/option_help.h"

#include <algorithm>

namespace {

struct entry {
    std::string left;
    std::string right;
};

std::string shown(const argument& one)
{
    std::string name =
        *one.name == '-' && one.count != occurs::flag ? one.name + std::string(" ") + one.value : one.name;
    switch (one.count) {
    case occurs::once:
        return name;
    case occurs::at_most_once:
    case occurs::flag:
        return std::string("[").append(name).append("]");
    case occurs::at_least_once:
        return name + "...";
    case occurs::command_line:
        return name + " [ARGUMENT...]";
    case occurs::any_number:
        return std::string("[").append(name).append("...]");
    }
    return name;
}

std::string synopsis(const family& group, const command& one)
{
    std::string text = words_of(group, one);
    for (const argument& each : one.arguments)
        text.append(" ").append(shown(each));
    return one.destroys ? text + " --yes" : text;
}

void add_entries(std::vector<std::string>& lines, const std::vector<entry>& entries)
{
    size_t width = 0;
    for (const entry& one : entries)
        width = std::max(width, one.left.size());
    for (const entry& one : entries) {
        std::string& line = lines.emplace_back("  ");
        line += one.left;
        line.resize(width + 4, ' ');
        line += one.right;
    }
}

std::vector<entry> entries_of(const family& group)
{
    std::vector<entry> entries;
    for (const command& one : group.commands)
        entries.push_back({synopsis(group, one), one.help});
    return entries;
}

json json_of(std::span<const explained_word> words)
{
    json list = json::array();
    for (const explained_word& one : words)
        list.push_back({{"word", one.word}, {"meaning", one.means}});
    return list;
}

json json_of(const family& group, const command& one)
{
    json arguments = json::array();
    for (const argument& each : one.arguments)
        arguments.push_back({{"name", each.name}, {"usage", shown(each)}, {"help", each.help}});
    return {{"command", words_of(group, one)},
            {"usage", std::string("utmctl ").append(synopsis(group, one))},
            {"help", one.help},
            {"arguments", arguments},
            {"words", json_of(one.words)},
            {"functions", one.run.functions()},
            {"destroys", one.destroys ? json(one.destroys) : json()},
            {"example", one.example ? json(std::string("utmctl ") + one.example) : json()}};
}

json json_of_statuses()
{
    json statuses = json::array();
    for (const exit_status_row& row : exit_statuses)
        statuses.push_back({{"exit", static_cast<int>(row.status)}, {"status", row.word}, {"meaning", row.meaning}});
    return statuses;
}

void add_options(std::vector<std::string>& lines, const std::string& words = "")
{
    lines.insert(lines.end(), {"", "Options, anywhere on the line:"});
    std::vector<entry> entries;
    for (const global_option& one : options_of(words))
        entries.push_back({one.shown, one.help});
    add_entries(lines, entries);
}

void add_statuses(std::vector<std::string>& lines)
{
    lines.insert(lines.end(), {"", "Exit status:"});
    std::vector<entry> entries;
    for (const exit_status_row& row : exit_statuses)
        entries.push_back({std::to_string(static_cast<int>(row.status)), row.meaning});
    add_entries(lines, entries);
}

void add_examples(std::vector<std::string>& lines, std::span<const command> commands)
{
    for (const command& one : commands) {
        if (one.example != nullptr)
            lines.push_back(std::string("  utmctl ") + one.example);
    }
}

void add_words(std::vector<std::string>& lines, const command& one)
{
    if (!one.words.empty())
        lines.insert(lines.end(), {"", "An argument is one of:"});
    std::vector<entry> entries;
    for (const explained_word& each : one.words)
        entries.push_back({each.word, each.means});
    add_entries(lines, entries);
}

void add_functions(std::vector<std::string>& lines, const command& one)
{
    const std::vector<std::string> functions = one.run.functions();
    if (!functions.empty())
        lines.insert(lines.end(), {"", "Functions it calls ('utmctl describe' explains them):"});
    for (const std::string& function : functions)
        lines.push_back("  " + function);
}

outcome show_help(const request& asked)
{
    const std::vector<std::string>& given = asked.all("COMMAND");
    const size_t most = !given.empty() && is_one_word(find_family(given[0])) ? 1 : 2;
    if (given.size() > most)
        refuse_usage("help: unexpected argument " + in_quotes(given[most]), "'utmctl help' lists the commands");
    return help_on(given);
}

constexpr argument words[] = {
    {"COMMAND", occurs::any_number, check_any, "the words of a command, or the first of them"},
};

constexpr command commands[] = {
    {"", words, show_help, "explain utmctl, a family of commands, or a command"},
};

} // namespace

constinit const family help_family = {"help", "this help", commands};

outcome help_on_command(const family& group, const command& one)
{
    outcome help = {.result = json_of(group, one)};
    help.lines = {std::string("Usage: utmctl ").append(synopsis(group, one)), "",
                  "Does: " + std::string(one.help) + "."};
    std::vector<entry> entries;
    for (const argument& each : one.arguments)
        entries.push_back({each.name, each.help});
    if (one.destroys)
        entries.push_back({"--yes", std::string("what it destroys may be destroyed: ") + one.destroys});
    if (!entries.empty())
        help.lines.push_back("");
    add_entries(help.lines, entries);
    add_words(help.lines, one);
    add_functions(help.lines, one);
    if (one.example != nullptr)
        help.lines.insert(help.lines.end(), {"", "Example:", std::string("  utmctl ") + one.example});
    add_options(help.lines, words_of(group, one));
    add_statuses(help.lines);
    return help;
}

outcome help_on_family(const family& group)
{
    outcome help = {.result = json::array()};
    for (const command& one : group.commands)
        help.result.push_back(json_of(group, one));
    help.lines = {std::string("Usage: utmctl ") + group.word + " COMMAND [ARGUMENT...]", "",
                  "Drives " + std::string(group.help) + ".", "", "Commands:"};
    add_entries(help.lines, entries_of(group));
    help.lines.insert(help.lines.end(), {"", "Examples:"});
    add_examples(help.lines, group.commands);
    add_options(help.lines);
    add_statuses(help.lines);
    return help;
}

outcome help_on_everything()
{
    outcome help;
    json all = json::array();
    std::vector<entry> entries;
    for (const family* group : all_families()) {
        for (const command& one : group->commands)
            all.push_back(json_of(*group, one));
        for (const entry& one : entries_of(*group))
            entries.push_back(one);
    }
    help.result = {{"commands", all}, {"exit_statuses", json_of_statuses()}};
    help.lines = {"Usage: utmctl [OPTION...] COMMAND [ARGUMENT...]", "", "Drives the gateway's security services.", "",
                  "Commands:"};
    add_entries(help.lines, entries);
    help.lines.insert(help.lines.end(), {"", "Examples:"});
    for (const family* group : all_families())
        add_examples(help.lines, group->commands);
    add_options(help.lines);
    add_statuses(help.lines);
    return help;
}

outcome help_on(const std::vector<std::string>& given)
{
    if (given.empty())
        return help_on_everything();
    const family& group = find_family(given[0]);
    if (given.size() == 1 && *group.commands.front().word != '\0')
        return help_on_family(group);
    return help_on_command(group, find_command(group, given.size() == 1 ? "" : given[1]));
}
