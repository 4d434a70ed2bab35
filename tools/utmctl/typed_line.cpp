#include "tools/utmctl/typed_line.h"

#include "tools/utmctl/help.h"
#include "tools/utmctl/options.h"

#include <algorithm>

namespace {

using texts = std::vector<std::string>;

bool takes_value(const global_option& one)
{
    return isupper(static_cast<unsigned char>(std::string_view(one.shown).back())) != 0;
}

bool is_global_with_value(const std::string& word)
{
    return std::any_of(std::begin(global_options), std::end(global_options), [&](const global_option& one) {
        const texts names = names_of(one);
        return takes_value(one) && std::find(names.begin(), names.end(), word) != names.end();
    });
}

void take_option(typed_line& line, const std::string& word)
{
    line.options.push_back(word);
    line.expects_value = is_global_with_value(word);
    for (const argument& one : line.what != nullptr ? line.what->arguments : std::span<const argument>()) {
        if (one.name == word && one.count != occurs::flag) {
            line.expecting = &one;
            line.expects_value = true;
        }
    }
}

template <class Rows> auto find_word(const Rows& rows, const std::string& word)
{
    return std::find_if(rows.begin(), rows.end(), [&](const auto& one) { return word == one.word; });
}

void take_word(typed_line& line, const std::string& word)
{
    if (line.what != nullptr) {
        line.arguments.push_back(word);
        return;
    }
    if (line.group == nullptr) {
        const auto families = all_families();
        const auto found =
            std::find_if(families.begin(), families.end(), [&](const family* one) { return word == one->word; });
        line.wrong = found == families.end();
        line.group = line.wrong ? nullptr : *found;
        if (!line.wrong && is_one_word(*line.group))
            line.what = &line.group->commands.front();
        return;
    }
    const auto found = find_word(line.group->commands, word);
    line.wrong = found == line.group->commands.end();
    line.what = line.wrong ? nullptr : &*found;
}

} // namespace

void read_words(typed_line& line)
{
    for (const std::string& word : line.words) {
        if (line.wrong)
            break;
        if (line.expects_value) {
            line.expects_value = false;
            line.expecting = nullptr;
        } else if (!line.plain && word == end_of_options) {
            line.plain = true;
        } else if (!line.plain && is_option(word)) {
            take_option(line, word);
        } else {
            take_word(line, word);
        }
    }
}
