#pragma once

#include "tools/utmctl/command.h"
#include "tools/utmctl/overdue.h"

#include <functional>

// One deed of a daemon: an operation that answers with a number, and how to tell what came of it.

// What is told of a deed: "SUBJECT was not PARTICIPLE", for example of "rule 70" and "taken off the list".
struct deed_words {
    std::string subject;
    std::string participle;
    bool changes = true; // else a call that is ended has done nothing
};

std::string done(const deed_words& words);
std::string not_done(const deed_words& words);
std::string maybe_done(const deed_words& words);
std::string done_in_part(const deed_words& words);

// The words of a row, with {NAME} replaced by what was given for the argument of that name.
std::string filled_in(std::string text, const request& asked);

// The problem of an exchange with the daemon that failed with errno, or that the daemon refused with an answer. What
// did not happen reads like not_done.
problem exchange_problem(const std::string& what, const service& daemon, int error, std::optional<int32_t> answer = {});

// The number that an operation returned, where it is the daemon's own: not where -1 tells of a failed exchange.
std::optional<int32_t> answer_in(int32_t returned, int error);

struct deed {
    deed_words words;
    service daemon;
    std::function<int32_t()> call;
    bool (*refuses)(int32_t returned);
    bool tells_answer = false; // what it returns is the daemon's own number
    bool registry_lock = false;
    json result = {}; // what is known besides
};

bool is_not_zero(int32_t returned);
bool is_minus_one(int32_t returned);

// Calls the library in a worker, and tells by what it returned and by errno what came of it.
outcome carry_out(const deed& one, double timeout);

// A deed as a row of a table. {NAME} in its words stands for the argument of that name.
struct deed_row {
    const service& daemon;
    const char* subject;
    const char* participle;
    int32_t (*call)(const request& asked);
    bool tells_answer = false;
    bool (*refuses)(int32_t returned) = is_not_zero;
};

outcome carry_out(const deed_row& row, const request& asked);

// The row as the run function of a command.
template <const deed_row& row> outcome perform(const request& asked)
{
    return carry_out(row, asked);
}
