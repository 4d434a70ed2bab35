#include "tools/utmctl/command_line.h"

#include "tools/utmctl/argument_line.h"
#include "tools/utmctl/arguments.h"
#include "tools/utmctl/columns.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/lookup.h"
#include "tools/utmctl/options.h"
#include "tools/utmctl/parser.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace {

constexpr char options_help[] = "'utmctl help' lists the options";

struct global_flags {
    std::optional<std::string> json = {};
    bool quiet = false;
    bool no_headers = false;
    bool yes = false;
    bool dry_run = false;
    bool explain = false;
    bool help = false;
    bool version = false;
    std::optional<std::string> columns = {};
    std::optional<std::string> timeout = {};
    std::optional<std::string> wait = {};
};

using texts = std::vector<std::string>;

void add_flag(CLI::App& parser, const char* names, bool& flag)
{
    parser.add_flag(names, flag)->disable_flag_override();
}

// The style that a text gives to --json. The parser takes an empty one for none.
std::optional<std::string> style_in(const texts& arguments)
{
    constexpr std::string_view option = "--json=";
    const auto found = std::find_if(arguments.rbegin(), arguments.rend(),
                                    [&](const std::string& one) { return one.starts_with(option); });
    return found == arguments.rend() ? std::nullopt : std::optional(found->substr(option.size()));
}

// The parser would take them for the option and another.
void refuse_short_style(const texts& arguments)
{
    const auto found =
        std::find_if(arguments.begin(), arguments.end(), [](const std::string& one) { return one.starts_with("-j="); });
    if (found != arguments.end())
        refuse_option(*found);
}

// Takes the global options out of the line, wherever they stand, and returns the rest.
texts take_globals(const texts& arguments, global_flags& flags)
{
    refuse_short_style(arguments);
    flags.json = style_in(arguments);
    CLI::App parser;
    parser.set_help_flag();
    parser.allow_extras();
    std::string style;
    parser.add_flag("-j,--json", style);
    add_flag(parser, "-q,--quiet", flags.quiet);
    add_flag(parser, "--no-headers", flags.no_headers);
    add_flag(parser, "--yes", flags.yes);
    add_flag(parser, "--dry-run", flags.dry_run);
    add_flag(parser, "--explain", flags.explain);
    add_flag(parser, "-h,--help", flags.help);
    add_flag(parser, "--version", flags.version);
    parser.add_option("--columns", flags.columns)->type_name("");
    parser.add_option("--timeout", flags.timeout)->type_name("");
    parser.add_option("--wait", flags.wait)->type_name("");
    const std::string wrong = parse_with(parser, arguments);
    if (!wrong.empty())
        refuse_usage("wrong option: " + wrong, options_help);
    return parser.remaining();
}

std::string check_json(const std::string& text)
{
    return text == pretty_style ? "" : in_quotes(text) + " is not a style of JSON; the only one is pretty";
}

// Not before the words are known, so that the refusal can name the command.
void check_global(const char* name, const std::optional<std::string>& text, std::string (*check)(const std::string&))
{
    const std::string wrong = text ? check(*text) : "";
    if (!wrong.empty())
        refuse_usage(std::string("wrong option: ") + name + ": " + wrong, options_help);
}

void check_globals(const global_flags& flags)
{
    check_global("--json", flags.json, check_json);
    check_global("--columns", flags.columns, check_headings);
    check_global("--timeout", flags.timeout, check_seconds);
    check_global("--wait", flags.wait, check_seconds);
}

problem incomplete(const std::string& what, const std::string& next)
{
    return {.status = exit_status::usage, .what = what, .culprits = {}, .next = next};
}

// The global options are taken out already, and those of a command stand behind its words.
void check_word(const command_line& line, size_t place)
{
    if (place < line.plain_from && is_option(line.words[place]))
        refuse_option(line.words[place]);
}

const command& find_second_word(const command_line& line)
{
    if (is_one_word(*line.group))
        return find_command(*line.group, "");
    check_word(line, 1);
    return find_command(*line.group, line.words[1]);
}

void find_words(command_line& line)
{
    if (line.words.empty()) {
        line.incomplete = incomplete("no command given", "'utmctl help' lists the commands");
        return;
    }
    check_word(line, 0);
    line.group = &find_family(line.words[0]);
    const std::string word = line.group->word;
    if (line.words.size() == 1 && !is_one_word(*line.group))
        line.incomplete =
            incomplete("incomplete command " + in_quotes(word), "'utmctl help " + word + "' lists its commands");
    else
        line.what = &find_second_word(line);
}

bool is_completion(const texts& arguments)
{
    return !arguments.empty() && arguments.front() == complete_family.word;
}

// The words to complete are another line, whose options are not this one's.
void take_completion(const texts& arguments, command_line& line)
{
    line.words = arguments;
    line.group = &complete_family;
    line.what = &complete_family.commands.front();
    line.asked.values = {{line.what->arguments.front().name, {arguments.begin() + 1, arguments.end()}}};
    line.asked.timeout = line.what->timeout;
    line.asked.words = complete_family.word;
    line.asked.what = line.what;
}

// With the mark where it stood, for the parser of the arguments.
texts arguments_of(const command_line& line)
{
    const size_t words = is_one_word(*line.group) ? 1 : 2;
    texts arguments(line.words.begin() + static_cast<ptrdiff_t>(words), line.words.end());
    if (line.plain_from < line.words.size())
        arguments.insert(arguments.begin() + static_cast<ptrdiff_t>(std::max(line.plain_from, words) - words),
                         end_of_options);
    return arguments;
}

// A word that is missed may have gone to an option, as in "--wait profile list".
void find_words_or_values(command_line& line, const global_flags& flags)
{
    try {
        find_words(line);
    } catch (const failure&) {
        check_globals(flags);
        throw;
    }
}

// Behind the mark stand words that are no options, whatever they begin with.
void take_words(const texts& arguments, command_line& line, global_flags& flags)
{
    const auto mark = std::find(arguments.begin(), arguments.end(), end_of_options);
    line.words = take_globals({arguments.begin(), mark}, flags);
    line.plain_from = line.words.size();
    if (mark != arguments.end())
        line.words.insert(line.words.end(), mark + 1, arguments.end());
}

} // namespace

output_style style_of(const texts& arguments)
{
    output_style style;
    if (is_completion(arguments))
        return style;
    for (const std::string& one : arguments) {
        if (one == end_of_options)
            break;
        const bool short_flags = one.size() > 1 && one[0] == '-' && one[1] != '-';
        style.json |= one.starts_with("--json") || (short_flags && one.find('j') != std::string::npos);
        style.pretty |= one == pretty_json;
    }
    return style;
}

std::string command_of(const command_line& line)
{
    if (line.help)
        return "help";
    if (line.what != nullptr)
        return words_of(*line.group, *line.what);
    return line.group != nullptr ? line.group->word : "";
}

void parse(const texts& arguments, command_line& line)
{
    if (is_completion(arguments)) {
        take_completion(arguments, line);
        return;
    }
    global_flags flags;
    take_words(arguments, line, flags);
    line.style.quiet |= flags.quiet;
    line.style.headers &= !flags.no_headers;
    line.asked.yes |= flags.yes;
    line.asked.dry_run |= flags.dry_run;
    line.asked.explain |= flags.explain;
    line.help = flags.help;
    if (flags.version)
        line.words = {"version"};
    if (!flags.help)
        find_words_or_values(line, flags);
    check_globals(flags);
    if (flags.columns)
        line.style.columns = headings_in(*flags.columns);
    if (flags.timeout)
        line.asked.given_timeout = seconds_of(*flags.timeout);
    if (flags.wait)
        line.asked.wait = seconds_of(*flags.wait);
    line.asked.style = line.style;
    if (line.what != nullptr)
        parse_arguments(*line.group, *line.what, arguments_of(line), line.asked);
}
