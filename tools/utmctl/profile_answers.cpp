#include "tools/utmctl/profile_answers.h"

#include "kqutm/common.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace {

using answer = profile_answers::answer;

// "accepted", "unknown", "failed" or the word of an exit status.
const char* word_of(answer given, const failed_exchange& failure)
{
    if (given == answer::accepted)
        return "accepted";
    if (given == answer::open)
        return "unknown";
    return failure.status == cause_unknown ? "failed" : word_of(failure.status);
}

// "the content-filter daemon (SOCKET) or the application daemon (SOCKET)"
std::string open_daemons(const profile_answers& answers)
{
    std::string text;
    for (size_t target = 0; target < config_daemons.size(); ++target) {
        if (answers.given[target] == answer::open)
            text += (text.empty() ? "" : " or ") + name_of(config_daemons[target]) + " (" +
                    config_daemons[target].socket + ")";
    }
    return text;
}

// Why nothing is known of the daemons that are open, where no failure of one of them is told.
culprit silence(const profile_answers& answers)
{
    if (answers.passed_over)
        return {"the ID registry", "", "still holds it, and the diagnostic log does not tell why"};
    return {"the diagnostic log", UTM_APPCF_LOG,
            "could not be written, so it is not known what " + daemons_that(answers, answer::open) + " answered"};
}

} // namespace

bool any_failed(const profile_answers& answers)
{
    const auto& given = answers.given;
    return !answers.unplaced.empty() || std::find(given.begin(), given.end(), answer::failed) != given.end();
}

bool all_failed(const profile_answers& answers)
{
    return std::all_of(answers.given.begin(), answers.given.end(), [](answer one) { return one == answer::failed; });
}

std::string daemons_that(const profile_answers& answers, answer gave)
{
    std::vector<std::string> names;
    for (size_t target = 0; target < config_daemons.size(); ++target) {
        if (answers.given[target] == gave)
            names.emplace_back(config_daemons[target].name);
    }
    if (names.empty())
        return "";
    std::string text = "the " + names.front();
    for (size_t i = 1; i < names.size(); ++i)
        text += (i + 1 == names.size() ? " and " : ", ") + names[i];
    return text + (names.size() == 1 ? " daemon" : " daemons");
}

json json_of(const profile_answers& answers)
{
    json value;
    for (size_t target = 0; target < config_daemons.size(); ++target)
        value[config_daemons[target].word] = word_of(answers.given[target], answers.failures[target]);
    return value;
}

std::vector<culprit> culprits_of(const profile_answers& answers)
{
    std::vector<culprit> culprits;
    for (size_t target = 0; target < config_daemons.size(); ++target) {
        const config_daemon& daemon = config_daemons[target];
        if (answers.given[target] == answer::failed)
            culprits.push_back({name_of(daemon), daemon.socket, answers.failures[target].cause});
    }
    const std::string open = open_daemons(answers);
    std::set<std::string> causes;
    for (const failed_exchange& one : answers.unplaced) {
        if (causes.insert(one.cause).second)
            culprits.push_back({open, "", one.cause});
    }
    if (!open.empty() && answers.unplaced.empty())
        culprits.push_back(silence(answers));
    return culprits;
}
