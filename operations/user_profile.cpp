#include "operations/profile_codes.h"

namespace operations {

// The user-profile daemon has no codes but those of profiles.
std::span<const code_row> user_profile_codes()
{
    static constexpr size_t profile = offsetof(utm_user_profile_config_event, id);
    static constexpr code_row codes[] = {create_profile<profile>, delete_profile<profile>, add_device<profile>,
                                         delete_device<profile>};
    return codes;
}

} // namespace operations
