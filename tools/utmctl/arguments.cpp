#include "tools/utmctl/arguments.h"
#include "tools/utmctl/lookup.h"

#include <algorithm>

namespace {

constexpr id_kind kinds[] = {
    {"profile", UTM_ID_USER_PROFILE, "profile"},
    {"cf-policy", UTM_ID_CF_POLICY, "content-filter policy"},
    {"app-policy", UTM_ID_APP_POLICY, "application policy"},
};

constexpr double longest_timeout = 86400;

const id_kind* find_kind(const std::string& text)
{
    for (const id_kind& kind : kinds) {
        if (text == kind.word)
            return &kind;
    }
    return nullptr;
}

std::vector<std::string> words_of_kinds()
{
    std::vector<std::string> words;
    for (const id_kind& kind : kinds)
        words.emplace_back(kind.word);
    return words;
}

} // namespace

std::string named(const id_kind& kind, int64_t id)
{
    return std::string(kind.name) + " " + std::to_string(id);
}

std::string check_any(const std::string&)
{
    return "";
}

std::string check_id(const std::string& text)
{
    if (id_or_none<kqutm::profile_id>(text))
        return "";
    return in_quotes(text) + " is not an identifier, a whole number from 1 to 2147483647";
}

std::string check_registered_id(const std::string& text)
{
    if (number_of<uint32_t>(text).value_or(0) > 0)
        return "";
    return in_quotes(text) + " is not an identifier of the registry, a whole number from 1 to 4294967295";
}

std::string check_id_or_zero(const std::string& text)
{
    if (check_id(text).empty() || number_of<int64_t>(text) == 0)
        return "";
    return in_quotes(text) + " is not an identifier, a whole number from 1 to 2147483647, or 0 for one from the clock";
}

std::string check_mac(const std::string& text)
{
    return kqutm::mac_address::parse(text) ? "" : in_quotes(text) + " is not a MAC address such as 02:42:ac:11:00:05";
}

std::string check_state(const std::string& text)
{
    return text == "on" || text == "off" ? "" : in_quotes(text) + " is not a state: on or off";
}

std::string check_number(const std::string& text)
{
    return check_whole<INT32_MIN, INT32_MAX>(text);
}

std::string check_switch(const std::string& text)
{
    const bool good = check_state(text).empty() || check_number(text).empty();
    return good ? "" : in_quotes(text) + " is neither on nor off nor a whole number of 32 bits";
}

std::string check_kind(const std::string& text)
{
    if (find_kind(text) != nullptr)
        return "";
    const std::string nearest = nearest_word(text, words_of_kinds());
    const std::string wrong = in_quotes(text) + " is not a kind of identifier";
    return nearest.empty() ? wrong + ": profile, cf-policy or app-policy"
                           : wrong + "; did you mean '" + nearest + "'? kinds are profile, cf-policy and app-policy";
}

std::string check_seconds(const std::string& text)
{
    double seconds = number_of<double>(text, std::chars_format::fixed).value_or(0);
    if (seconds > 0 && seconds <= longest_timeout)
        return "";
    return in_quotes(text) + " is not a number of seconds above 0 and up to 86400";
}

uint32_t registered_id_of(const std::string& text)
{
    return number_of<uint32_t>(text).value();
}

kqutm::mac_address mac_of(const std::string& text)
{
    return kqutm::mac_address::parse(text).value();
}

bool is_on(const std::string& state)
{
    return state == "on";
}

int32_t switch_of(const std::string& text)
{
    return check_state(text).empty() ? static_cast<int32_t>(is_on(text)) : whole_of<int32_t>(text);
}

const id_kind& kind_of(const std::string& text)
{
    return *find_kind(text);
}

const id_kind& kind_of_number(uint32_t number)
{
    return *std::find_if(std::begin(kinds), std::end(kinds),
                         [&](const id_kind& kind) { return kind.number == number; });
}

double seconds_of(const std::string& text)
{
    return number_of<double>(text, std::chars_format::fixed).value();
}
