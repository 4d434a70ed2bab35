#include "tools/utmctl/deed.h"

#include "tools/utmctl/remedy.h"
#include "tools/utmctl/worker.h"

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

bool is_not_zero(int32_t returned)
{
    return returned != 0;
}

bool is_minus_one(int32_t returned)
{
    return returned == -1;
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

problem exchange_problem(const std::string& what, const service& daemon, int error, std::optional<int32_t> answer)
{
    failed_exchange failed = exchange_failure(answer ? EREMOTEIO : error);
    if (answer)
        failed.cause += " with result " + std::to_string(*answer);
    if (failed.status == exit_status::no_answer)
        failed.cause += told_of_process(stopped_process_of(daemon));
    return {.status = failed.status,
            .what = what,
            .culprits = {{name_of(daemon), daemon.socket, failed.cause}},
            .next = next_after({daemon}, failed.error)};
}

std::optional<int32_t> answer_in(int32_t returned, int error)
{
    return returned != -1 || error == EREMOTEIO ? std::optional(returned) : std::nullopt;
}

outcome carry_out(const deed& one, double timeout)
{
    const awaited whom = {.daemons = {one.daemon}, .registry_lock = one.registry_lock};
    const call_result call = call_in_worker(
        maybe_done(one.words), timeout, [&] { return one.call(); }, whom);
    const int32_t returned = call.value;
    const std::optional<int32_t> answer = one.tells_answer ? answer_in(returned, call.error) : std::nullopt;
    outcome told = {.result = one.result};
    if (one.tells_answer)
        told.result["answer"] = answer ? json(*answer) : json();
    if (!one.refuses(returned)) {
        told.confirmations.push_back(done(one.words));
        return told;
    }
    told.problems.push_back(exchange_problem(not_done(one.words), one.daemon, call.error, answer));
    told.status = told.problems.front().status;
    return told;
}

outcome carry_out(const deed_row& row, const request& asked)
{
    return carry_out({.words = {filled_in(row.subject, asked), filled_in(row.participle, asked)},
                      .daemon = row.daemon,
                      .call = [&] { return row.call(asked); },
                      .refuses = row.refuses,
                      .tells_answer = row.tells_answer},
                     asked.timeout);
}
