#include "tools/utmctl/engine_deed.h"

#include "tools/utmctl/worker.h"

std::optional<int32_t> answer_in(const kqutm::cause& why)
{
    return why.returned != -1 || why.refused() ? std::optional(why.returned) : std::nullopt;
}

outcome carry_out(const engine_deed& row, const request& asked)
{
    const deed_words words = {filled_in(row.subject, asked), filled_in(row.participle, asked)};
    const auto answered = call_in_worker(maybe_done(words), asked.timeout, [&] { return as_json(row.call(asked)); },
                                         {.daemons = {row.daemon}, .registry_lock = false})
                              .result;
    outcome told;
    if (answered) {
        told.confirmations = {done(words)};
        if (row.daemon.tells_answer)
            told.result["answer"] = *answered;
        return told;
    }
    const kqutm::cause why = answered.error();
    const std::optional<int32_t> answer = row.daemon.tells_answer ? answer_in(why) : std::nullopt;
    if (row.daemon.tells_answer)
        told.result["answer"] = answer ? json(*answer) : json();
    told.problems = {
        exchange_problem(not_done(words), row.daemon, failed_exchange_with(row.daemon, why.error, answer))};
    told.status = told.problems.front().status;
    return told;
}
