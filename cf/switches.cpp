// The filter's two engines, and the filter as a whole, which follows them.

#include "kqutm/cf.h"

#include "common/files.h"
#include "common/log.h"
#include "common/shell.h"
#include "common/unique_fd.h"
#include "event/exchange.h"

#include <unistd.h>

namespace {

constexpr size_t command_size = 256;

// Deliberate: only the first three characters of a switch file count.
bool read_switch(const char* path, long& value, const char* operation = __builtin_FUNCTION())
{
    value = 0;
    if (!file_exists(path))
        return true;
    const owned_file file(fopen(path, "re"));
    if (file == nullptr) {
        utm_log(UTM_APPCF_LOG, "[%s]open %s fail\n", operation, path);
        return false;
    }
    char digits[4];
    if (fgets(digits, sizeof digits, file.get()) != nullptr)
        value = strtol(digits, nullptr, 10);
    return true;
}

void create_marker()
{
    unique_fd marker(open_for_appending(UTM_CF_MARKER));
}

int32_t switch_engine(const char* path, uint8_t code, int32_t value, const char* operation = __builtin_FUNCTION())
{
    run_shell<command_size>("echo %d > %s", value, path);
    const int32_t result = utm_cf_activate();
    if (result != 0)
        return result;
    return tell(utm_cf_config_event{.code = code, .body = {.value = value}}, "[%s] fail(activate = %d)\n", operation,
                value);
}

} // namespace

UTM_API int32_t utm_cf_activate(void)
{
    long safe_browsing;
    long category;
    if (!read_switch(UTM_CF_WEB_SAFE_BROWSING_FILE, safe_browsing) || !read_switch(UTM_CF_WEB_CATEGORY_FILE, category))
        return -1;
    const bool wanted = safe_browsing != 0 || category != 0;
    if (wanted == file_exists(UTM_CF_MARKER))
        return 0;
    if (wanted) {
        utm_log(UTM_APPCF_LOG, "[%s]enable cf\n", __func__);
        __utm_cf_activate(1);
        create_marker();
    } else {
        // Deliberate: the word is "disenable".
        utm_log(UTM_APPCF_LOG, "[%s]disenable cf\n", __func__);
        __utm_cf_activate(0);
        unlink(UTM_CF_MARKER);
    }
    return 0;
}

UTM_API int32_t utm_cf_web_safe_browsing_activate(int32_t value)
{
    return switch_engine(UTM_CF_WEB_SAFE_BROWSING_FILE, UTM_CF_WEB_SAFE_BROWSING_ACTIVATE, value);
}

UTM_API int32_t utm_cf_web_category_activate(int32_t value)
{
    return switch_engine(UTM_CF_WEB_CATEGORY_FILE, UTM_CF_WEB_CATEGORY_ACTIVATE, value);
}
