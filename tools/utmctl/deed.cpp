#include "tools/utmctl/deed.h"

#include "tools/utmctl/remedy.h"

#include <cerrno>

std::string filled_in(std::string text, const request& asked)
{
    for (const auto& [name, given] : asked.values) {
        const std::string mark = "{" + name + "}";
        const size_t at = text.find(mark);
        if (at != std::string::npos && !given.empty())
            text.replace(at, mark.size(), printable(given.front()));
    }
    return text;
}

std::string done(const deed_words& words)
{
    return words.subject + " " + words.participle;
}

std::string not_done(const deed_words& words)
{
    return words.subject + " was not " + words.participle;
}

std::string maybe_done(const deed_words& words)
{
    return words.changes ? words.subject + " may have been " + words.participle : not_done(words);
}

std::string done_in_part(const deed_words& words)
{
    return words.subject + " was " + words.participle + " in part";
}

failed_exchange failed_exchange_with(const service& daemon, int error, std::optional<int32_t> answer)
{
    failed_exchange failed = exchange_failure(answer ? EREMOTEIO : error);
    if (answer)
        failed.cause += " with result " + std::to_string(*answer);
    look_for_stopped_process(failed, daemon);
    return failed;
}

problem exchange_problem(const std::string& what, const service& daemon, const failed_exchange& failed)
{
    return {.status = failed.status,
            .what = what,
            .culprits = {{name_of(daemon), daemon.socket, failed.cause}},
            .next = next_after(which_failed(daemon, failed))};
}
