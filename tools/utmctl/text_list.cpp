#include "tools/utmctl/text_list.h"

#include "tools/utmctl/hex.h"
#include "tools/utmctl/text_argument.h"
#include "tools/utmctl/text_file.h"

#include <sstream>

namespace {

const std::string& file_of(const request& asked)
{
    return asked.one(texts_from_file.name);
}

void add_lines(std::vector<text_entry>& entries, const request& asked, const argument& texts, const std::string& what)
{
    std::istringstream stream(content_of_file(file_of(asked), what));
    size_t number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        if (line.ends_with('\r'))
            line.pop_back();
        if (is_blank(line))
            continue;
        entries.push_back({line, number});
        const std::string wrong = texts.check(line);
        if (!wrong.empty())
            refuse_arguments(asked,
                             "line " + std::to_string(number) + " of " + name_of_file(file_of(asked)) + ": " + wrong);
    }
}

} // namespace

std::vector<text_entry> texts_of(const request& asked, const argument& texts, const std::string& what)
{
    std::vector<text_entry> entries;
    for (const std::string& text : asked.all(texts.name))
        entries.push_back({text});
    if (asked.has(texts_from_file.name))
        add_lines(entries, asked, texts, what);
    else if (entries.empty())
        refuse_arguments(asked, std::string(texts.name) + " or " + texts_from_file.name + " is required");
    return entries;
}

std::string place_of(const text_entry& entry, const request& asked)
{
    return entry.line == 0 ? "" : " (line " + std::to_string(entry.line) + " of " + name_of_file(file_of(asked)) + ")";
}

std::vector<uint8_t> bytes_of(const std::vector<text_entry>& entries)
{
    std::vector<uint8_t> bytes;
    for (const text_entry& entry : entries) {
        const std::vector<uint8_t> part = parse_hex(entry.text).value();
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}
