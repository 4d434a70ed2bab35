#pragma once

#include "tools/utmctl/deed.h"
#include "tools/utmctl/profile_evidence.h"
#include "tools/utmctl/watched_call.h"

#include <functional>

// One operation on one profile: how it is told, how its answers are judged, and what came of it.

struct profile_step : deed_words {
    std::optional<kqutm::profile_id> id; // none: the operation chooses one
    profile_answers (*judge)(profile_evidence);
};

using operation = std::function<kqutm::result<json>()>;

struct profile_report {
    watched_call call;
    profile_evidence evidence;
};

// Calls the library, and looks at the registry and the log before and after.
profile_report carry_out(const profile_step& step, const operation& work, double timeout);

// The outcome of a step whose evidence was judged so. Result holds what is known besides.
outcome told(const profile_step& step, const profile_answers& answers, const profile_evidence& evidence, json result);

// The outcome of a step that the registry did not let happen, or that nobody knows the end of.
outcome refused(const json& result, problem why);
