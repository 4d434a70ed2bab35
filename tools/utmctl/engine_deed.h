#pragma once

#include "tools/utmctl/deed.h"

#include "kqutm.hpp"

// The deeds of the engines: one exchange each, as rows of tables.

struct engine_service : service {
    bool tells_answer = true; // the numbers that it answers are told
};

// {NAME} in its words stands for the argument of that name.
struct engine_deed {
    const engine_service& daemon;
    const char* subject;
    const char* participle;
    kqutm::result<int32_t> (*call)(const request& asked); // the number that the daemon answers
};

outcome carry_out(const engine_deed& row, const request& asked);

// The row as the run function of a command.
template <const engine_deed& row> outcome perform(const request& asked)
{
    return carry_out(row, asked);
}

// The number that the daemon answered with a refusal; none where -1 tells of an exchange that failed.
std::optional<int32_t> answer_in(const kqutm::cause& why);
