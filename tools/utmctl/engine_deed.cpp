#include "tools/utmctl/engine_deed.h"

#include "tools/utmctl/worker.h"

namespace {

std::optional<int32_t> answer_told(const engine_service& daemon, const kqutm::result<json>& answered)
{
    if (!daemon.tells_answer)
        return {};
    return answered ? std::optional(answered->get<int32_t>()) : answer_in(answered.error());
}

} // namespace

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
    const std::optional<int32_t> answer = answer_told(row.daemon, answered);
    outcome told;
    if (row.daemon.tells_answer)
        told.result["answer"] = answer ? json(*answer) : json();
    if (answered) {
        told.confirmations = {done(words)};
        return told;
    }
    const failed_exchange failed = failed_exchange_with(row.daemon, answered.error().error, answer);
    told.problems = {exchange_problem(not_done(words), row.daemon, failed)};
    told.status = failed.status;
    return told;
}
