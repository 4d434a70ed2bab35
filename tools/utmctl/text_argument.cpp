#include "tools/utmctl/text_argument.h"

#include "tools/utmctl/printable.h"

#include <arpa/inet.h>

bool is_blank(const std::string& text)
{
    return text.find_first_not_of(" \t") == std::string::npos;
}

std::string wrong_text(const std::string& text, size_t most)
{
    if (is_blank(text))
        return in_quotes(text) + " is blank";
    if (has_control_characters(text))
        return in_quotes(text) + " has control characters";
    if (text.size() > most)
        return in_quotes(text) + " is longer than " + std::to_string(most) + " characters";
    return "";
}

std::string check_ip(const std::string& text)
{
    in6_addr address;
    if (inet_pton(AF_INET, text.c_str(), &address) == 1 || inet_pton(AF_INET6, text.c_str(), &address) == 1)
        return "";
    return in_quotes(text) + " is not an IP address such as 192.168.1.7";
}
