// Everything back to empty and off, in one call.

#include "kqutm/app.h"
#include "kqutm/cf.h"
#include "kqutm/profile.h"

#include "common/files.h"

namespace {

struct reset_step {
    char name[40]; // in the row itself: a pointer is work for the loader
    int32_t (*run)();
};

constexpr reset_step steps[] = {
    {"utm_user_profile_flush", utm_user_profile_flush},
    {"utm_cf_global_flush", [] { return utm_cf_global_flush(0); }},
    {"utm_cf_web_safe_browsing_activate", [] { return utm_cf_web_safe_browsing_activate(0); }},
    {"utm_cf_web_category_activate", [] { return utm_cf_web_category_activate(0); }},
    {"utm_app_activate", [] { return utm_app_activate(0); }},
};

constexpr char state_files[][40] = {UTM_CF_MARKER, UTM_CF_WEB_SAFE_BROWSING_FILE, UTM_CF_WEB_CATEGORY_FILE};

} // namespace

UTM_API int32_t utm_user_profile_cf_app_policy_reset(void)
{
    int32_t result = 0;
    for (const reset_step& step : steps) {
        result = step.run();
        if (result == -1) {
            utm_log(UTM_APPCF_LOG, "utm_user_profile_cf_app_policy_reset is failed(%s)\n", step.name);
            return -1;
        }
    }
    for (const char* file : state_files) {
        if (file_exists(file))
            unlink(file);
    }
    return result;
}
