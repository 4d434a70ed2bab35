#include "app/values.h"

#include <algorithm>
#include <iterator>

answer ask_for_value(const utm_app_config_event& event, uint32_t utm_event_response::*value, uint32_t* output,
                     const char* failed, const char* operation)
{
    if (output == nullptr)
        return answer(fail_with_null(EINVAL));
    answer got = ask(event, failed, operation);
    if (got != nullptr)
        *output = got.get()->*value;
    return got;
}

answer ask_for_values(const utm_app_config_event& event, uint32_t (utm_event_response::*values)[3],
                      uint32_t* const (&outputs)[3], const char* failed, const char* operation)
{
    if (std::find(std::begin(outputs), std::end(outputs), nullptr) != std::end(outputs))
        return answer(fail_with_null(EINVAL));
    answer got = ask(event, failed, operation);
    if (got == nullptr)
        return got;
    for (size_t i = 0; i < std::size(outputs); ++i)
        *outputs[i] = (got.get()->*values)[i];
    return got;
}
