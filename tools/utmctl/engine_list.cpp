#include "tools/utmctl/engine_list.h"

outcome told_of_list(const service& daemon, const std::string& subject, const std::vector<shown_member>& members,
                     const kqutm::result<json>& list)
{
    const json entries = list ? list->at("entries") : json::array();
    const int error = list ? list->at("error").get<int>() : list.error().error;
    outcome told = {.result = {{"entries", entries}, {"complete", error == 0}}};
    const bool in_part = !entries.empty();
    if (error == 0 || in_part)
        told.rows = table_of(entries, members);
    if (error == 0)
        return told;
    const std::string what =
        in_part ? " were listed in part, the first " + std::to_string(entries.size()) : std::string(" were not listed");
    problem why = exchange_problem(subject + what, daemon, failed_exchange_with(daemon, error));
    if (in_part)
        why.status = exit_status::done_in_part;
    told.status = why.status;
    told.problems = {std::move(why)};
    return told;
}
