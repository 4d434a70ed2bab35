#include "tools/utmctl/arguments.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/meanings.h"

namespace {

void tell(outcome& told, const std::string& text, const meaning* known)
{
    told.result.push_back({{"text", text}, {"meaning", known != nullptr ? json(known->means) : json()}});
    told.lines.push_back(printable(text));
    told.lines.push_back(known != nullptr ? std::string("    ") + known->means : "    not a text of the library");
}

outcome explain(const request& asked)
{
    outcome told = {.result = json::array()};
    for (const std::string& text : asked.all("TEXT"))
        tell(told, text, meaning_of(text));
    if (!told.result.empty())
        return told;
    for (const meaning& one : all_meanings())
        tell(told, one.text, &one);
    return told;
}

constexpr argument texts[] = {
    {"TEXT", occurs::any_number, check_any, "a message of a diagnostic log, or what was printed; none: all there are"},
};

constexpr command commands[] = {
    {"", texts, explain, "tell what texts of the library mean, such as a message of a diagnostic log", nullptr,
     "explain 'user profile id(7) not found'"},
};

} // namespace

constinit const family explain_family = {"explain", "what the library's texts mean", commands};
