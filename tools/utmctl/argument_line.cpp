#include "tools/utmctl/argument_line.h"

#include "tools/utmctl/function_argument.h"
#include "tools/utmctl/options.h"
#include "tools/utmctl/parser.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace {

using texts = std::vector<std::string>;

void declare(CLI::App& parser, const argument& one, texts& values)
{
    if (one.count == occurs::command_line)
        return;
    if (one.count == occurs::flag) {
        parser.add_flag_callback(one.name, [&values] { values = {""}; })->disable_flag_override();
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

const argument* held_command(const command& what)
{
    const auto found = std::find_if(what.arguments.begin(), what.arguments.end(),
                                    [](const argument& one) { return one.count == occurs::command_line; });
    return found == what.arguments.end() ? nullptr : &*found;
}

// A mark before the whole line of the other command ends the options of the one that holds it.
void take_held_command(const argument& held, texts rest, const std::string& wrong, request& asked)
{
    if (!wrong.empty())
        refuse_arguments(asked, wrong);
    if (!rest.empty() && rest.front() == end_of_options)
        rest.erase(rest.begin());
    if (rest.empty())
        refuse_arguments(asked, std::string(held.name) + " is required");
    asked.values[held.name] = rest;
}

// What a mark lets stand for itself may look like an option. Returns the rest without the mark.
texts check_options(texts rest, const request& asked)
{
    const auto mark = std::find(rest.begin(), rest.end(), end_of_options);
    const auto unknown = std::find_if(rest.begin(), mark, is_option);
    if (unknown != mark)
        refuse_option(*unknown, asked);
    if (mark != rest.end())
        rest.erase(mark);
    return rest;
}

// The value of an option that has to be given may stand there without it.
void check_missing(const std::string& wrong, const std::string& value, const request& asked)
{
    for (const argument& one : asked.what->arguments) {
        if (is_option(one.name) && wrong == std::string(one.name) + " is required")
            refuse_usage(asked.words + ": " + wrong,
                         std::string("name the ") + one.value + " with " + one.name + " " + printable(value));
    }
}

// What the command's own arguments leave over.
void check_rest(const texts& rest, const std::string& wrong, const request& asked)
{
    const texts unexpected = check_options(rest, asked);
    if (!wrong.empty() && !unexpected.empty())
        check_missing(wrong, unexpected.front(), asked);
    if (!wrong.empty())
        refuse_arguments(asked, wrong);
    if (!unexpected.empty() && unexpected.front() == pretty_style && asked.style.json)
        refuse_pretty(asked.words + ": unexpected argument ");
    if (!unexpected.empty())
        refuse_arguments(asked, "unexpected argument " + in_quotes(unexpected.front()));
}

} // namespace

void parse_arguments(const family& group, const command& what, const texts& arguments, request& asked)
{
    const std::string words = words_of(group, what);
    asked.words = words;
    asked.what = &what;
    asked.timeout = asked.given_timeout.value_or(what.timeout);
    CLI::App parser;
    parser.set_help_flag();
    parser.allow_extras();
    for (const argument& one : what.arguments)
        declare(parser, one, asked.values[one.name]);
    const std::string wrong = parse_with(parser, arguments);
    if (!wrong.empty() && !what.arguments.empty() && what.arguments.front().check == check_function)
        refuse_command_as_function(arguments, asked);
    const argument* held = held_command(what);
    if (held != nullptr)
        take_held_command(*held, parser.remaining(), wrong, asked);
    else
        check_rest(parser.remaining(), wrong, asked);
    if (what.destroys && !asked.yes && !asked.dry_run)
        refuse_to_destroy(words, what.destroys);
}
