/* The device UUID and the switch of debug events (kqutm/common.h). */
#ifndef KQUTM_HPP_COMMON_HPP
#define KQUTM_HPP_COMMON_HPP

#include "../common.h"
#include "arguments.hpp"

#include <cerrno>
#include <string>

namespace kqutm {

namespace uuid {

/* An empty text means that there is none. */
inline result<done> set(const std::string& text)
{
    return detail::with_text(text, UTM_UUID_SIZE - 1, utm_uuid_set);
}

/* Empty when there is none. */
inline result<std::string> get()
{
    char text[UTM_UUID_SIZE] = ""; /* the size that the operation wants, whatever it is told */
    if (utm_uuid_get(text, sizeof text) != 0 && errno != 0)
        return detail::failed();
    return std::string(text);
}

} // namespace uuid

/* Whether it worked shows in UTM_DEBUG_EVENT_FILE alone. */
inline void record_debug_events(bool on)
{
    utm_notify_debug(on);
}

} // namespace kqutm

#endif
