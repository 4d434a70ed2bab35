#pragma once

#include "tools/utmctl/profile_answers.h"

#include "kqutm.hpp"

#include <optional>

// What is known after an operation on a profile, and what it proves. The library tells the answer of one daemon; the
// others' answers follow from the log and from the registry, or stay open.

struct profile_evidence {
    std::optional<kqutm::profile_id> id;
    std::optional<int> error;              // errno, when the operation failed
    std::vector<failed_exchange> failures; // as the log tells them
    bool log_works;                        // else a log without failures proves nothing
    utm_id_registry before;
    utm_id_registry after;
};

profile_answers judge_create(profile_evidence evidence);
profile_answers judge_delete(profile_evidence evidence);
profile_answers judge_device(profile_evidence evidence);
profile_answers judge_flushed(profile_evidence evidence); // as delete, but no answer is told

// Whether the operation failed on the registry, before any daemon was told.
bool failed_on_registry(const profile_evidence& evidence);
