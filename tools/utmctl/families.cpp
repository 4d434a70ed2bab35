#include "tools/utmctl/families.h"

namespace {

constexpr const family* families[] = {
    &profile_family, &cf_family,   &app_family,      &reset_family,   &ips_family,     &devid_family,
    &av_family,      &ir_family,   &registry_family, &uuid_family,    &sys_family,     &doctor_family,
    &status_family,  &wait_family, &complete_family, &explain_family, &version_family, &help_family,
};

} // namespace

std::span<const family* const> all_families()
{
    return families;
}

void refuse_arguments(const request& asked, const std::string& wrong)
{
    refuse_usage(asked.words + ": " + wrong, "'utmctl help " + asked.words + "' tells what it takes");
}

bool is_one_word(const family& group)
{
    return *group.commands.front().word == '\0';
}

std::string words_of(const family& group, const command& one)
{
    return *one.word == '\0' ? group.word : std::string(group.word) + " " + one.word;
}
