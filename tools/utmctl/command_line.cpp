#include "tools/utmctl/command_line.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/columns.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/lookup.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>

namespace {

constexpr char options_help[] = "'utmctl help' lists the options";

struct global_flags {
    std::string json = {};
    bool quiet = false;
    bool no_headers = false;
    bool dry_run = false;
    bool explain = false;
    bool help = false;
    bool version = false;
    std::optional<std::string> columns = {};
    std::optional<std::string> timeout = {};
    std::optional<std::string> wait = {};
};

using texts = std::vector<std::string>;

// The parser counts values: "--lines: 1 required TEXT missing", "--lines: At Most 1 required but received 2".
std::string wording_of(const CLI::ArgumentMismatch& error)
{
    const std::string text = error.what();
    const std::string name = text.substr(0, text.find(": "));
    if (text.ends_with("missing"))
        return name + " needs a value";
    return text.find(": At Most ") != std::string::npos ? name + " may be given once" : text;
}

void parse_with(CLI::App& parser, texts arguments, const std::string& subject, const std::string& help)
{
    std::reverse(arguments.begin(), arguments.end()); // as the parser wants it
    try {
        parser.parse(arguments);
    } catch (const CLI::ArgumentMismatch& error) {
        refuse_usage(subject + ": " + wording_of(error), help);
    } catch (const CLI::ParseError& error) {
        refuse_usage(subject + ": " + error.what(), help);
    }
}

// Takes the global options out of the line, wherever they stand, and returns the rest.
texts take_globals(const texts& arguments, global_flags& flags)
{
    CLI::App parser;
    parser.set_help_flag();
    parser.allow_extras();
    parser.add_flag("-j{plain},--json{plain}", flags.json);
    parser.add_flag("-q,--quiet", flags.quiet);
    parser.add_flag("--no-headers", flags.no_headers);
    parser.add_flag("--dry-run", flags.dry_run);
    parser.add_flag("--explain", flags.explain);
    parser.add_flag("-h,--help", flags.help);
    parser.add_flag("--version", flags.version);
    parser.add_option("--columns", flags.columns)->type_name("");
    parser.add_option("--timeout", flags.timeout)->type_name("");
    parser.add_option("--wait", flags.wait)->type_name("");
    parse_with(parser, arguments, "wrong option", options_help);
    return parser.remaining();
}

std::string check_json(const std::string& text)
{
    return text == "plain" || text == "pretty" ? "" : in_quotes(text) + " is not a style of JSON: plain or pretty";
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
    check_global("--json", flags.json.empty() ? std::nullopt : std::optional(flags.json), check_json);
    check_global("--columns", flags.columns, check_headings);
    check_global("--timeout", flags.timeout, check_seconds);
    check_global("--wait", flags.wait, check_seconds);
}

void declare(CLI::App& parser, const argument& one, texts& values)
{
    if (one.count == occurs::command_line)
        return;
    if (one.count == occurs::flag) {
        parser.add_flag_callback(one.name, [&values] { values = {""}; });
        return;
    }
    CLI::Option* option = parser.add_option(one.name, values)->check(one.check);
    switch (one.count) {
    case occurs::once:
        option->expected(1)->required()->allow_extra_args(false);
        break;
    case occurs::at_most_once:
        option->expected(1)->allow_extra_args(false);
        break;
    case occurs::at_least_once:
        option->expected(1, CLI::detail::expected_max_vector_size)->required();
        break;
    case occurs::any_number:
        option->expected(1, CLI::detail::expected_max_vector_size);
        break;
    case occurs::flag:
    case occurs::command_line:
        break;
    }
}

bool is_option(const std::string& text)
{
    return text.starts_with("--") ||
           (text.size() > 1 && text[0] == '-' && isalpha(static_cast<unsigned char>(text[1])));
}

// What the command's own arguments leave over: the line of another command, or one argument too many.
void take_rest(const texts& rest, const std::string& help, request& asked)
{
    for (const argument& one : asked.what->arguments) {
        if (one.count != occurs::command_line)
            continue;
        if (rest.empty())
            refuse_usage(asked.words + ": " + one.name + " is required", help);
        asked.values[one.name] = rest;
        return;
    }
    if (!rest.empty())
        refuse_usage(asked.words + (is_option(rest.front()) ? ": unknown option " : ": unexpected argument ") +
                         in_quotes(rest.front()),
                     help);
}

void parse_arguments(const family& group, const command& what, const texts& arguments, request& asked)
{
    const std::string words = words_of(group, what);
    asked.words = words;
    asked.what = &what;
    asked.timeout = asked.given_timeout.value_or(what.timeout);
    CLI::App parser;
    parser.set_help_flag();
    parser.allow_extras();
    if (what.destroys)
        parser.add_flag("--yes", asked.yes);
    for (const argument& one : what.arguments)
        declare(parser, one, asked.values[one.name]);
    const std::string help = "'utmctl help " + words + "' tells what it takes";
    parse_with(parser, arguments, words, help);
    take_rest(parser.remaining(), help, asked);
    if (what.destroys && !asked.yes && !asked.dry_run)
        refuse_to_destroy(words, what.destroys);
}

problem incomplete(const std::string& what, const std::string& next)
{
    return {.status = exit_status::usage, .what = what, .culprits = {}, .next = next};
}

void find_words(command_line& line)
{
    if (line.words.empty()) {
        line.incomplete = incomplete("no command given", "'utmctl help' lists the commands");
        return;
    }
    line.group = &find_family(line.words[0]);
    const std::string word = line.group->word;
    if (line.words.size() == 1 && !is_one_word(*line.group))
        line.incomplete =
            incomplete("incomplete command " + in_quotes(word), "'utmctl help " + word + "' lists its commands");
    else
        line.what = &find_command(*line.group, is_one_word(*line.group) ? "" : line.words[1]);
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

texts arguments_of(const command_line& line)
{
    return {line.words.begin() + (is_one_word(*line.group) ? 1 : 2), line.words.end()};
}

} // namespace

output_style style_of(const texts& arguments)
{
    output_style style;
    if (is_completion(arguments))
        return style;
    for (const std::string& one : arguments) {
        const bool short_flags = one.size() > 1 && one[0] == '-' && one[1] != '-';
        style.json |= one.starts_with("--json") || (short_flags && one.find('j') != std::string::npos);
        style.pretty |= one == "--json=pretty";
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
    line.words = take_globals(arguments, flags);
    line.style.quiet |= flags.quiet;
    line.style.headers &= !flags.no_headers;
    line.asked.dry_run |= flags.dry_run;
    line.asked.explain |= flags.explain;
    line.help = flags.help;
    if (flags.version)
        line.words = {"version"};
    if (!flags.help)
        find_words(line);
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
