#pragma once

#include "tools/utmctl/config_daemons.h"
#include "tools/utmctl/outcome.h"

#include <array>
#include <vector>

// What each of the three daemons answered to an operation on a profile, as far as it is known.
struct profile_answers {
    enum class answer {
        accepted,
        failed,
        open
    };

    std::array<answer, 3> given = {}; // by config target
    std::array<failed_exchange, 3> failures = {};
    std::vector<failed_exchange> unplaced; // of those that are open, which one is not known
    bool passed_over = false;              // the profile is registered as before, and no daemon told why
    exit_status status = exit_status::done;
};

// A failure whose cause is not known.
constexpr exit_status cause_unknown = exit_status::done_in_part;

bool any_failed(const profile_answers& answers);
bool all_failed(const profile_answers& answers);

// Such as "the content-filter and application daemons"; empty when none gave that answer.
std::string daemons_that(const profile_answers& answers, profile_answers::answer gave);

json json_of(const profile_answers& answers);
std::vector<culprit> culprits_of(const profile_answers& answers);
