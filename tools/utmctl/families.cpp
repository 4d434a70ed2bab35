#include "tools/utmctl/families.h"

#include <iterator>
#include <sstream>

namespace {

constexpr const family* families[] = {
    &profile_family, &cf_family,    &app_family,      &reset_family,   &ips_family,  &devid_family,
    &av_family,      &ir_family,    &registry_family, &uuid_family,    &sys_family,  &doctor_family,
    &status_family,  &wait_family,  &complete_family, &explain_family, &call_family, &describe_family,
    &logs_family,    &watch_family, &batch_family,    &version_family, &help_family,
};

} // namespace

std::span<const family* const> all_families()
{
    return families;
}

std::vector<std::string> action::functions() const
{
    std::istringstream names{std::string(functions_)};
    return {std::istream_iterator<std::string>(names), {}};
}

void refuse_arguments(const request& asked, const std::string& wrong)
{
    refuse_usage(asked.words + ": " + wrong, "'utmctl help " + asked.words + "' tells what it takes");
}

bool is_one_word(const family& group)
{
    return *group.commands.front().word == '\0';
}

void refuse_to_destroy(const std::string& words, const std::string& what)
{
    throw failure({.status = exit_status::unsafe,
                   .what = words + " was not carried out: it destroys " + what,
                   .culprits = {},
                   .next = "add --yes if that is what you want"});
}

std::string words_of(const family& group, const command& one)
{
    return *one.word == '\0' ? group.word : std::string(group.word) + " " + one.word;
}
