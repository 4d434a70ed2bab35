#include "tools/utmctl/hex.h"

#include "tools/utmctl/outcome.h"

std::string wrong_hex(const std::string& text, size_t least, size_t most)
{
    const std::string range = least == most ? "" : std::to_string(least) + " to ";
    return in_quotes(text) + " is not " + range + std::to_string(most) + " bytes, each of two hexadecimal digits";
}
