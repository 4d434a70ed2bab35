#pragma once

#include "tests/crowd/ledger.h"
#include "tests/engines/engines.h"

#include <string>

// What a crowd may leave.
namespace crowd {

// Where the identifiers stand that get bound, in their tables.
constexpr size_t profiles_at = 240;
constexpr size_t policies_at = 192;

void expect_registry(const ledger& told);

// Expects nothing but whole lines of these shapes, and one for each round of the first.
void expect_whole_lines(const ledger& told, const std::string& log, const std::string& first,
                        const std::string& others);

// Rounds of the survivors are there once each.
void expect_lines_of_survivors();

// What was accepted had arrived. The other way round does not hold: a signal may come between request and answer.
void expect_accepted_rules(const ledger& told, const engine_daemon& ips);

} // namespace crowd
