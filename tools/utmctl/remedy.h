#pragma once

#include "tools/utmctl/probe.h"

#include <string>
#include <sys/types.h>
#include <vector>

// What to do about what does not work, in the same words wherever it is told.

// Open to the superuser and to one other user alone: anybody else is told that it takes the superuser.
std::string remedy_of_user(uid_t user, const std::string& remedy);

// For a process that is stopped.
std::string continuing(int process);

// For a daemon that does not work.
std::string remedy_for(const service& who, const probe& seen);

// For daemons whose exchanges failed alike, with errno. Of none it is not known which one it was.
std::string remedy_for(const std::vector<service>& daemons, int error);

// The same or, for one that is stopped, how it goes on, and what to do then. A daemon that refuses would refuse the
// same again.
std::string next_after(const std::vector<service>& daemons, int error);
std::string next_after(const std::vector<service>& daemons, int error, const std::string& step);
