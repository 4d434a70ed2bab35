#pragma once

#include "tests/failing_calls/run.h"

#include <string>
#include <vector>

// What the calls of an operation are for.
namespace failing_calls {

// A step of an operation, by what it is about:
//   lock, unlock        registry or common segment
//   key, attach         the segment itself
//   clearing_...        the same, for the first use that clears the registry
//   vain                looking for what is not there yet
//   cf, app, user_profile, engine    a daemon; answer: what an engine sends
//   log, command, filter_marker, page_text    files of that purpose
// All others have the name of the call. What is done again and again is numbered: lock:2 is the second time that the
// operation takes the lock, and cf:3 its third connection to the cf daemon.
struct step {
    std::string name;
    int number;
    bool creates = false; // a set or a segment that is not there

    bool operator==(const step&) const = default;
};

// The steps that fail.
std::vector<step> failing_steps(const outcome& undisturbed, const fault& fault);

// The connections to daemons, in their order.
std::vector<step> connections(const outcome& outcome);

// Whether a list such as "lock key:2" names a step.
bool names(const char* list, const step& step);

} // namespace failing_calls
