#include "tools/utmctl/function_argument.h"

std::string check_function(const std::string& text)
{
    if (operations::find_function(text) != nullptr)
        return "";
    return in_quotes(text) + " is not a function of the library; 'utmctl describe' lists them";
}

const operations::function_row& function_of(const std::string& text)
{
    return *operations::find_function(text);
}
