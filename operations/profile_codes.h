#pragma once

#include "kqutm/daemon.h"
#include "operations/codes.h"

// The codes of user profiles, which all three config daemons know. Their records differ in where a profile stands.
namespace operations {

template <size_t at> inline constexpr field profile_id[] = {{"id", field_type::signed_number, at, 4}};
template <size_t at>
inline constexpr field profile_device[] = {profile_id<at>[0], { "mac", field_type::mac, at + 4, 6 }};

template <size_t at> constexpr code_row create_profile = {UTM_PROFILE_CREATE, "create profile", profile_id<at>};
template <size_t at> constexpr code_row delete_profile = {UTM_PROFILE_DELETE, "delete profile", profile_id<at>};
template <size_t at> constexpr code_row add_device = {UTM_PROFILE_ADD_DEVICE, "add device", profile_device<at>};
template <size_t at>
constexpr code_row delete_device = {UTM_PROFILE_DELETE_DEVICE, "delete device", profile_device<at>};

} // namespace operations
