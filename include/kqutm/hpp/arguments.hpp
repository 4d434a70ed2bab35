/* What the layer looks at before it calls: texts that would not arrive as they are. */
#ifndef KQUTM_HPP_ARGUMENTS_HPP
#define KQUTM_HPP_ARGUMENTS_HPP

#include "result.hpp"

#include <cerrno>
#include <cstddef>
#include <string>

namespace kqutm::detail {

/* Whether text reaches the daemon whole: no zero byte ends it early, and the daemon's field does not cut it. */
inline bool fits(const std::string& text, size_t most)
{
    return text.size() <= most && text.find('\0') == std::string::npos;
}

inline cause refused_here()
{
    return {.returned = -1, .error = EINVAL};
}

/* Calls with a text of at most that many characters, or not at all. */
template <class Call> result<done> with_text(const std::string& text, size_t most, Call call)
{
    if (!fits(text, most))
        return refused_here();
    return status(call(text.c_str()));
}

} // namespace kqutm::detail

#endif
