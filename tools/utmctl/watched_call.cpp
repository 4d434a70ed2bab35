#include "tools/utmctl/watched_call.h"

#include "tools/utmctl/log_watch.h"
#include "tools/utmctl/registry_view.h"
#include "tools/utmctl/worker.h"

#include <cerrno>

watched_call call_watched(const deed_words& words, const std::vector<service>& daemons, double timeout,
                          const std::function<kqutm::result<json>()>& operation)
{
    const utm_id_registry before = read_registry(not_done(words), timeout);
    const log_watch log(UTM_APPCF_LOG);
    const call_result call =
        call_in_worker(maybe_done(words), timeout, operation, {.daemons = daemons, .registry_lock = true});
    const utm_id_registry after = read_registry_again(maybe_done(words), timeout);
    return {.result = call.result,
            .log = log.lines(),
            .log_works = log.takes_lines(),
            .printed = call.printed,
            .before = before,
            .after = after};
}

bool failed_on_registry(const watched_call& call)
{
    return !call.result && call.log_works && failed_exchanges(call.log).empty();
}

std::optional<problem> creation_refusal(const watched_call& call, const std::string& what)
{
    if (call.result)
        return {};
    const int error = call.error();
    if (error == EEXIST || error == ENOSPC)
        return registry_refusal(what, error);
    if (!registry_was_cleared())
        return registry_problem(what, "cannot be cleared for its first use", error);
    if (failed_on_registry(call))
        return registry_problem(what, "cannot be used", error);
    return {};
}
