#include "tools/utmctl/config_deed.h"

#include "tools/utmctl/log_watch.h"
#include "tools/utmctl/number.h"

#include <algorithm>
#include <cctype>

namespace {

// What was asked for, by the names of the arguments: numbers, states as numbers, and texts.
json value_of(const std::string& text)
{
    if (text == "on" || text == "off")
        return text == "on" ? 1 : 0;
    const std::optional<int64_t> number = parse_whole(text);
    return number ? json(*number) : json(text);
}

std::string in_small_letters(std::string word)
{
    std::transform(word.begin(), word.end(), word.begin(), [](unsigned char c) { return std::tolower(c); });
    return word;
}

json asked_for(const request& asked)
{
    json values = json::object();
    for (const argument& one : asked.what->arguments) {
        if (asked.has(one.name))
            values[in_small_letters(one.name)] = value_of(asked.one(one.name));
    }
    return values;
}

} // namespace

failed_exchange failed_exchange_with(const config_daemon& daemon, int error, const std::vector<std::string>& log)
{
    failed_exchange failed = failed_exchange_with(daemon, error);
    const std::vector<failed_exchange> logged = failed_exchanges(log);
    // The log tells no more of one that did not answer, nor that it is stopped.
    if (!logged.empty() && logged.back().status == failed.status && failed.status != exit_status::no_answer)
        failed.cause = logged.back().cause;
    return failed;
}

exchanged exchange(const deed_words& words, const config_daemon& daemon, double timeout,
                   const std::function<kqutm::result<json>()>& operation)
{
    const log_watch log(UTM_APPCF_LOG);
    call_result call =
        call_in_worker(maybe_done(words), timeout, operation, {.daemons = {daemon}, .registry_lock = false});
    if (!call.result)
        throw failure(exchange_problem(not_done(words), daemon,
                                       failed_exchange_with(daemon, call.result.error().error, log.lines())));
    return {*std::move(call.result), std::move(call.printed)};
}

outcome change(const config_change& row, const request& asked)
{
    const deed_words words = {filled_in(row.subject, asked), filled_in(row.participle, asked)};
    exchange(words, row.daemon, asked.timeout, [&] { return as_json(row.call(asked)); });
    return {.result = asked_for(asked), .confirmations = {done(words)}};
}

outcome read(const config_reading& row, const request& asked)
{
    const deed_words words = {filled_in(row.subject, asked), "read", false};
    const json value = exchange(words, row.daemon, asked.timeout, [&] { return row.call(asked); }).value;
    outcome told = {.result = value};
    if (value.is_array())
        told.rows = table_of(value, row.members);
    else if (row.members.size() == 1)
        told.lines = {cell_of(value[row.members.front().name])};
    else
        told.rows = table_of(json::array({value}), row.members);
    return told;
}
