#pragma once

#include "tests/failing_calls/run.h"

#include <optional>
#include <string>
#include <vector>

// What becomes of an operation in which a call of libc fails.
namespace failing_calls {

// An operation in the surroundings in which its calls fail.
struct scene {
    const counts::operation& tested;
    history before;
    outcome undisturbed;
};

struct failing_call {
    const char* function;
    int error;          // that it fails with
    bool spares;        // its failure changes nothing for the caller of the operation
    bool again = false; // differs from the row before in its error alone: fails alone, on a gateway in use
};

// Every wrapped call that can fail. The others release, or tell the time.
const std::vector<failing_call>& all_failing_calls();

// The daemons that an operation connects to, in order; one to which it connects again and again stands once. Nothing
// where it makes no difference to them.
using daemons_told = std::optional<std::vector<std::string>>;

daemons_told told_by(const outcome& outcome);

// What comes of it when a call fails.
struct expectation {
    std::string result;
    int error;                  // errno
    std::string left;           // for the caller beside the result
    std::string stored;         // in registry and common segment
    bool has_any_error = false; // as after a success
    daemons_told told = std::nullopt;
};

expectation expect(const scene& scene, const fault& fault, bool spares);

// The same where it makes no difference.
expectation expect_usual(const scene& scene, const fault& fault);

// Whether the operation is a lock itself, which a signal interrupts.
bool is_one_semop(const std::string& operation);

// Whether a result is a number, and no list or address.
bool is_number(const std::string& result);

// What the operation returns when it fails because this call did.
std::string failure_value(const scene& scene, const fault& fault);

// Whether the operation abandons what it has taken from the heap when it fails.
bool abandons_blocks(const std::string& operation);

// Whether the operation leaves a lock, or the registry attached, when it gets as far as that.
bool keeps_what_it_got(const std::string& operation);

} // namespace failing_calls
