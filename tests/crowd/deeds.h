#pragma once

#include "tests/crowd/ledger.h"

#include <string>

namespace crowd {

// One thread of the crowd.
struct member {
    ledger& told;
    size_t thread;

    size_t process() const { return thread / threads_each; }
    bool is_doomed() const { return fate_of(process()) == fate::killed; }
    bool is_disturbed() const { return fate_of(process()) != fate::undisturbed; }
};

// A UUID is one letter 255 times.
std::string uuid_of(size_t thread);
bool is_whole_uuid(const std::string& uuid);

std::string numbered_line(size_t thread, int round);

// What the anti-virus daemon has in its cache, as the newest comes first.
constexpr char cache[] = "cba";

// What the application daemon tells of the usage.
constexpr uint32_t usage[] = {11, 22, 33};

// Does one of everything.
void run_round(const member& me, int round);

} // namespace crowd
