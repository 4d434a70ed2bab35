#pragma once

#include "tools/utmctl/probe.h"

#include <string>
#include <sys/types.h>

// What to do about what does not work, in the same words wherever it is told.

// Open to the superuser and to one other user alone: anybody else is told that it takes the superuser.
std::string remedy_of_user(uid_t user, const std::string& remedy);

// For a process that is stopped.
std::string continuing(int process);

// For a daemon that does not work.
std::string remedy_for(const service& who, const probe& seen);
