#include "tools/utmctl/explanation.h"

#include "kqutm/common.h"

#include "tools/utmctl/meanings.h"
#include "tools/utmctl/worker.h"

#include <algorithm>
#include <sstream>

namespace {

constexpr const char* logs[] = {UTM_APPCF_LOG, UTM_IPS_LOG, UTM_DEVID_LOG, UTM_COMMON_LOG};
constexpr char standard_output[] = "printed";
constexpr char by_the_shell[] =
    "A shell command that the library runs said so: look whether what it was to do was done.";
constexpr char by_another[] = "That is not a text of this library.";

constexpr std::string_view trace_mark = "response->";

// Notes of list entries have no end of line, so others follow them on the same line.
std::vector<std::string> texts_in(const std::string& line)
{
    std::vector<std::string> texts;
    for (size_t at = 0; at < line.size();) {
        const bool noted = std::string_view(line).substr(at).starts_with(trace_mark);
        const size_t next = noted ? std::min(line.find(trace_mark, at + 1), line.find('[', at)) : line.size();
        const size_t end = std::min(next, line.size());
        texts.push_back(line.substr(at, end - at));
        at = end;
    }
    return texts;
}

const char* told_of(const std::string& source, const std::string& text)
{
    const meaning* known = meaning_of(text);
    if (known != nullptr)
        return known->means;
    return source == standard_output ? by_the_shell : by_another;
}

void add(json& explained, const std::string& source, const std::string& text)
{
    const bool again = !explained.empty() && explained.back()["source"] == source && explained.back()["text"] == text;
    if (again)
        explained.back()["times"] = explained.back()["times"].get<int>() + 1;
    else
        explained.push_back({{"source", source}, {"text", text}, {"times", 1}, {"meaning", told_of(source, text)}});
}

} // namespace

explanation::explanation()
{
    for (const char* log : logs)
        logs_.emplace_back(log);
}

json explanation::tell() const
{
    json explained = json::array();
    for (size_t log = 0; log < logs_.size(); ++log) {
        for (const std::string& line : logs_[log].lines()) {
            for (const std::string& text : texts_in(line))
                add(explained, logs[log], text);
        }
    }
    std::istringstream printed(printed_so_far());
    for (std::string line; std::getline(printed, line);)
        add(explained, standard_output, line);
    return explained;
}

std::vector<std::string> lines_of(const json& explained)
{
    if (explained.empty())
        return {"the library logged and printed nothing"};
    std::vector<std::string> lines;
    for (const json& one : explained) {
        const int times = one["times"];
        lines.push_back(one["source"].get<std::string>() + ": " + printable(one["text"].get<std::string>()) +
                        (times > 1 ? " (" + std::to_string(times) + " times)" : ""));
        lines.push_back("    " + one["meaning"].get<std::string>());
    }
    return lines;
}
