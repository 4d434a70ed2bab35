#include "tools/utmctl/lookup.h"

#include "tools/utmctl/options.h"

#include <algorithm>
#include <numeric>

namespace {

// How many letters have to be changed, added or left out to turn one word into the other.
size_t distance(const std::string& from, const std::string& to)
{
    std::vector<size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (size_t i = 0; i < from.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i + 1);
        for (size_t j = 0; j < to.size(); ++j) {
            const size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

[[noreturn]] void refuse_word(const std::string& word, const std::string& lead, const std::vector<std::string>& known,
                              const std::string& help)
{
    const std::string nearest = nearest_word(word, known);
    const std::string meant = nearest.empty() ? "" : "did you mean '" + lead + nearest + "'? ";
    refuse_usage("unknown command " + in_quotes(lead + word), meant + "'utmctl " + help + "' lists the commands");
}

} // namespace

std::string nearest_word(const std::string& word, const std::vector<std::string>& known)
{
    std::string nearest;
    size_t best = std::max<size_t>(word.size() / 3, 1) + 1;
    for (const std::string& one : known) {
        const bool begins_so = word.size() >= 2 && one.starts_with(word);
        const size_t far = begins_so ? 1 : distance(word, one);
        if (far < best) {
            best = far;
            nearest = one;
        }
    }
    return nearest;
}

const family& find_family(const std::string& word)
{
    std::vector<std::string> known;
    for (const family* one : all_families()) {
        if (word == one->word)
            return *one;
        known.emplace_back(one->word);
    }
    if (word == pretty_style)
        refuse_pretty("unknown command ");
    refuse_word(word, "", known, "help");
}

const command& find_command(const family& group, const std::string& word)
{
    std::vector<std::string> known;
    for (const command& one : group.commands) {
        if (word == one.word)
            return one;
        known.emplace_back(one.word);
    }
    refuse_word(word, group.word + std::string(" "), known, std::string("help ") + group.word);
}
