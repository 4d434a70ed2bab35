#include "tools/utmctl/dry_run.h"

#include "tools/utmctl/json_text.h"
#include "tools/utmctl/readings.h"
#include "tools/utmctl/rehearsal.h"
#include "tools/utmctl/worker.h"

#include <algorithm>

namespace {

constexpr char nothing_to_do[] = "nothing would be sent or changed";
constexpr char nothing_done[] = "nothing was sent and nothing changed; every daemon is taken to accept";
constexpr size_t shortest_zero_run = 4; // of bytes that are shown as their number

// ": id 7, mac 02:42:ac:11:00:05", or nothing
std::string fields_text(const json& fields)
{
    std::string text;
    for (const auto& [name, value] : fields.items())
        text.append(text.empty() ? ": " : ", ").append(name).append(" ").append(shown_text(value));
    return text;
}

// "01 00*7 07 00*2047", of two digits for each byte
std::string bytes_text(const std::string& digits)
{
    std::string text;
    for (size_t at = 0; at < digits.size();) {
        const size_t zeros = (std::min(digits.find_first_not_of('0', at), digits.size()) - at) / 2;
        const bool run = zeros >= shortest_zero_run;
        text += text.empty() ? "" : " ";
        text += run ? "00*" + std::to_string(zeros) : digits.substr(at, 2);
        at += 2 * (run ? zeros : 1);
    }
    return text;
}

std::vector<std::string> send_lines(const json& step)
{
    return {"send to " + shown_text(step["daemon"]) + ": " + shown_text(step["name"]) + ", " +
                shown_text(step["size"]) + " bytes" + fields_text(step["fields"]),
            "    " + bytes_text(step["bytes"])};
}

std::vector<std::string> registry_lines(const json& step)
{
    return {"registry: " + shown_text(step["table"]) + "[" + shown_text(step["slot"]) + "] " +
            shown_text(step["before"]) + " -> " + shown_text(step["after"])};
}

std::vector<std::string> uuid_lines(const json& step)
{
    return {"uuid: '" + shown_text(step["before"]) + "' -> '" + shown_text(step["after"]) + "'"};
}

std::vector<std::string> create_lines(const json& step)
{
    return {"create: " + shown_text(step["what"])};
}

std::vector<std::string> file_lines(const json& step)
{
    const std::string text = step.value("text", "");
    return {"file: " + shown_text(step["does"]) + " " + shown_text(step["path"]) +
            (text.empty() ? "" : ": '" + printable(text) + "'")};
}

std::vector<std::string> shell_lines(const json& step)
{
    return {"shell: " + shown_text(step["command"])};
}

std::vector<std::string> signal_lines(const json& step)
{
    return {"signal: " + shown_text(step["signal"]) + " to process " + shown_text(step["process"])};
}

struct step_kind {
    const char* name;
    std::vector<std::string> (*lines)(const json& step);
};

constexpr step_kind step_kinds[] = {
    {"send", send_lines}, {"registry", registry_lines}, {"uuid", uuid_lines},     {"create", create_lines},
    {"file", file_lines}, {"shell", shell_lines},       {"signal", signal_lines},
};

std::vector<std::string> lines_of(const json& steps)
{
    std::vector<std::string> lines;
    for (const json& step : steps) {
        const auto* kind = std::find_if(std::begin(step_kinds), std::end(step_kinds),
                                        [&](const step_kind& one) { return step["step"] == one.name; });
        for (std::string& line : kind->lines(step))
            lines.push_back(std::move(line));
    }
    return lines;
}

outcome run_to_its_end(const request& asked)
{
    try {
        return asked.what->run(asked);
    } catch (const failure& cause) {
        return failed(cause);
    }
}

// In a worker, so that what the rehearsal leaves behind ends with it.
json rehearse(const request& asked)
{
    rehearsal all;
    const outcome result = run_to_its_end(asked);
    json problems = json::array();
    for (const problem& one : result.problems)
        problems.push_back(json_of(one));
    return {{"status", result.status}, {"problems", problems}, {"steps", all.steps()}};
}

constexpr double glance = 1; // second

json headings_of(const request& asked)
{
    const rehearsal all;
    const outcome result = run_to_its_end(asked);
    json headings = json::array();
    for (const column& one : result.rows ? result.rows->columns : std::vector<column>())
        headings.push_back(one.heading);
    return headings;
}

} // namespace

std::vector<std::string> rehearsed_headings(const request& asked)
{
    return *call_in_worker(asked.words + " was not rehearsed", glance, [&] { return headings_of(asked); },
                           {.daemons = {}, .registry_lock = false})
                .result;
}

outcome dry_run(const request& asked)
{
    if (const char* deed = idle_deed(asked.words))
        return {.result = {{"dry_run", true}, {"steps", json::array()}},
                .confirmations = {asked.words + " " + deed + "; nothing would be changed"}};
    const json rehearsed = *call_in_worker(asked.words + " was not rehearsed", asked.timeout,
                                           [&] { return rehearse(asked); }, {.daemons = {}, .registry_lock = false})
                                .result;
    outcome told = {.status = rehearsed["status"],
                    .result = {{"dry_run", true}, {"steps", rehearsed["steps"]}},
                    .lines = lines_of(rehearsed["steps"]),
                    .confirmations = {rehearsed["steps"].empty() ? nothing_to_do : nothing_done}};
    for (const json& one : rehearsed["problems"])
        told.problems.push_back(problem_of(one));
    return told;
}
