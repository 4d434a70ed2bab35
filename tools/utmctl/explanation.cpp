#include "tools/utmctl/explanation.h"

#include "tools/utmctl/log_entry.h"
#include "tools/utmctl/meanings.h"
#include "tools/utmctl/worker.h"

#include <sstream>

namespace {

constexpr char standard_output[] = "printed";
constexpr char by_the_shell[] =
    "A shell command that the library runs said so: look whether what it was to do was done.";
constexpr char by_another[] = "That is not a text of this library.";

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
    for (const log_family& family : log_families)
        logs_.emplace_back(family.path);
}

json explanation::tell() const
{
    json explained = json::array();
    for (size_t log = 0; log < logs_.size(); ++log) {
        for (const std::string& line : logs_[log].lines()) {
            for (const log_entry& entry : entries_in(log_families[log], line))
                add(explained, log_families[log].path, entry.text);
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
