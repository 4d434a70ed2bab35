#include "tools/utmctl/arguments.h"
#include "tools/utmctl/engine_call.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/worker.h"

#include "kqutm/common.h"

#include <sstream>
#include <unistd.h>

namespace {

std::string cause_of(const std::string& printed)
{
    return printed.empty() ? "cannot be changed"
                           : "cannot be changed: " + in_quotes(printed.substr(0, printed.find('\n')));
}

json record(bool on)
{
    kqutm::record_debug_events(on);
    return {};
}

// The library returns the same whether or not it worked, so the file alone tells.
outcome switch_debug_events(const request& asked)
{
    const bool on = is_on(asked.one("STATE"));
    const std::string switched = "switched " + asked.one("STATE");
    const call_result call = call_in_worker("the recording of debug events may have been " + switched, asked.timeout,
                                            [on] { return record(on); }, {.registry_lock = false});
    const bool is = access(UTM_DEBUG_EVENT_FILE, F_OK) == 0;
    if (is != on)
        throw failure({.status = exit_status::refused,
                       .what = "the recording of debug events was not " + switched,
                       .culprits = {{"its file", UTM_DEBUG_EVENT_FILE, cause_of(call.printed)}},
                       .next = "see who owns that file and its folder, and whether there is room"});
    return {.result = {{"debug_events", is}}, .confirmations = {"the recording of debug events was " + switched}};
}

constexpr int most_output = 65536; // bytes, with the zero byte at the end

// The library tells nothing, but clears the buffer as soon as a shell has started.
json output_of(const std::string& command_line)
{
    std::vector<char> output(most_output);
    output.back() = '?';
    utm_getSystemCommandResult(command_line.c_str(), output.data(), most_output, 1);
    return output.back() == '\0' ? json(output.data()) : json();
}

void add_lines(std::vector<std::string>& lines, const std::string& before, const std::string& text)
{
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(before + printable(line));
}

outcome run(const request& asked)
{
    const std::string& command_line = asked.one("COMMAND");
    const call_result call =
        call_in_worker("the shell's command did not end", asked.timeout, [&] { return output_of(command_line); },
                       {.registry_lock = false, .advice = "it may go on by itself; --timeout sets a longer limit"});
    const json output = *call.result;
    if (output.is_null())
        throw failure({.status = exit_status::refused,
                       .what = "the shell's command was not run",
                       .culprits = {{"the shell", "/bin/sh", "cannot be started"}},
                       .next = "see whether it is there, and how many processes and how much memory are left"});
    outcome told = {.result = {{"output", output}, {"standard_error", call.printed}}};
    add_lines(told.lines, "", output);
    add_lines(told.lines, "standard error: ", call.printed);
    return told;
}

constexpr argument command_of_shell[] = {
    {"COMMAND", occurs::once, check_any, "one text, which a shell reads; of what it prints 65408 bytes come whole"},
};

constexpr command commands[] = {
    {"debug-events",
     state,
     {switch_debug_events, "utm_notify_debug"},
     "switch the recording of debug events on or off",
     nullptr,
     "sys debug-events on"},
    {"run",
     command_of_shell,
     {run, "utm_getSystemCommandResult"},
     "run a command in a shell by the library's helper, and print what it prints",
     "whatever the command destroys",
     "sys run 'uptime -p' --yes"},
};

} // namespace

constinit const family sys_family = {"sys", "what belongs to no daemon", commands};
