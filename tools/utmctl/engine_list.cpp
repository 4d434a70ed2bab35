#include "tools/utmctl/engine_list.h"

namespace {

// What the library leaves in errno when a stream breaks off. After a whole list errno means nothing of the kind.
bool broke_off(int error)
{
    switch (error) {
    case ETIMEDOUT:
    case ENODATA:
    case EPROTO:
    case EINTR:
    case ECONNRESET:
    case ENOMEM:
        return true;
    default:
        return false;
    }
}

bool is_whole(const list_end& end)
{
    return end.asked ? !broke_off(end.error) : end.error == 0;
}

} // namespace

void tell_end(outcome& listed, const service& daemon, const std::string& subject, const list_end& end)
{
    const bool whole = is_whole(end);
    listed.result["complete"] = whole;
    if (whole)
        return;
    const bool in_part = end.entries > 0;
    const std::string what =
        in_part ? " were listed in part, the first " + std::to_string(end.entries) : std::string(" were not listed");
    problem why = exchange_problem(subject + what, daemon, end.error);
    if (in_part)
        why.status = exit_status::done_in_part;
    else
        listed.rows.reset();
    listed.status = why.status;
    listed.problems.push_back(std::move(why));
}
