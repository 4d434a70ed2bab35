#pragma once

#include "tools/utmctl/command.h"
#include "tools/utmctl/service.h"

// How it is told what came of one deed of a daemon.

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

// How an exchange with the daemon failed with errno, or that the daemon refused with an answer.
failed_exchange failed_exchange_with(const service& daemon, int error, std::optional<int32_t> answer = {});

// The problem of such an exchange. What did not happen reads like not_done.
problem exchange_problem(const std::string& what, const service& daemon, const failed_exchange& failed);
