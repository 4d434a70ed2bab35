#include "tools/utmctl/json_text.h"

std::string json_text(const json& value, int indent)
{
    return value.dump(indent, ' ', false, json::error_handler_t::replace);
}

std::string shown_text(const json& value)
{
    return printable(value.is_string() ? value.get_ref<const std::string&>() : json_text(value));
}
