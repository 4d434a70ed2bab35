#include "tools/utmctl/printable.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace {

// The characters of UTF-8 that begin alike. A longer one than the number needs is none.
struct form {
    unsigned char mask;
    unsigned char lead;
    size_t size;
    char32_t least;
    char32_t most;
};

constexpr form forms[] = {
    {0x80, 0x00, 1, 0x0, 0x7f},
    {0xe0, 0xc0, 2, 0x80, 0x7ff},
    {0xf0, 0xe0, 3, 0x800, 0xffff},
    {0xf8, 0xf0, 4, 0x10000, 0x10ffff},
};

struct range {
    char32_t first;
    char32_t last;

    bool holds(char32_t code) const { return first <= code && code <= last; }
};

constexpr range hidden[] = {
    {0x00, 0x1f},     // control characters
    {0x7f, 0x9f},     // more of them, some of which terminals take for an escape sequence
    {0x202a, 0x202e}, // embeddings and overrides of the direction
    {0x2066, 0x2069}, // isolates of the direction
    {0xd800, 0xdfff}, // halves of pairs, which are no characters
};

bool is_continuation(unsigned char byte)
{
    return (byte & 0xc0U) == 0x80;
}

// How many bytes the character at the start of the text has; 0 when there is none that may be shown.
size_t size_to_show(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    const auto* found = std::find_if(std::begin(forms), std::end(forms),
                                     [&](const form& one) { return (lead & one.mask) == one.lead; });
    if (found == std::end(forms) || text.size() < found->size)
        return 0;
    const std::string_view rest = text.substr(1, found->size - 1);
    if (!std::all_of(rest.begin(), rest.end(), is_continuation))
        return 0;
    char32_t code = lead & ~static_cast<unsigned>(found->mask);
    for (const unsigned char byte : rest)
        code = code << 6U | (byte & 0x3fU);
    const bool shown =
        range{found->least, found->most}.holds(code) &&
        std::none_of(std::begin(hidden), std::end(hidden), [&](const range& one) { return one.holds(code); });
    return shown ? found->size : 0;
}

std::string escaped(char c)
{
    char text[5];
    snprintf(text, sizeof text, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    return text;
}

} // namespace

std::string printable(std::string_view text)
{
    std::string shown;
    while (!text.empty()) {
        const size_t size = size_to_show(text);
        shown += size > 0 ? std::string(text.substr(0, size)) : escaped(text.front());
        text.remove_prefix(std::max<size_t>(size, 1));
    }
    return shown;
}

std::string in_quotes(const std::string& text)
{
    return "'" + printable(text) + "'";
}

bool has_control_characters(std::string_view text)
{
    return std::any_of(text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; });
}
