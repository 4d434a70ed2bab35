#pragma once

#include "tools/utmctl/config_daemons.h"
#include "tools/utmctl/outcome.h"

#include "kqutm/registry.h"

#include <array>
#include <optional>
#include <vector>

// What each of the three daemons answered to an operation on a profile. The library tells the answer of one of them,
// the last; the others follow from the log and from the registry, or stay open.

struct profile_evidence {
    int32_t id;
    std::optional<int> error; // errno, when the operation failed
    std::vector<failed_exchange> failures;
    utm_id_registry before;
    utm_id_registry after;
};

struct profile_answers {
    enum class answer {
        accepted,
        failed,
        open
    };

    std::array<answer, 3> given = {}; // by config target
    std::array<failed_exchange, 3> failures = {};
    std::vector<failed_exchange> unplaced; // of those that are open, which one is not known
    exit_status status = exit_status::done;
};

profile_answers judge_create(profile_evidence evidence);
profile_answers judge_delete(profile_evidence evidence);
profile_answers judge_device(profile_evidence evidence);
profile_answers judge_flushed(profile_evidence evidence); // as delete, but no answer is told

// The failures that belong to one profile, by the number in the operation's own line.
std::vector<failed_exchange> failures_of(const std::vector<failed_exchange>& all, int32_t id);

json json_of(const profile_answers& answers);
std::vector<culprit> culprits_of(const profile_answers& answers);

// Such as "the content-filter and application daemons"; empty when none accepted.
std::string accepted_by(const profile_answers& answers);
