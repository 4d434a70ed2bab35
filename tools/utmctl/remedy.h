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

struct failed_daemons {
    std::vector<service> daemons;
    int error;
    int stopped = 0; // the process of one of them, which keeps it from answering
};

failed_daemons which_failed(const service& daemon, const failed_exchange& failed);

// The same or, for one that is stopped, how it goes on, and what to do then. A daemon that refuses would refuse the
// same again.
std::string next_after(const failed_daemons& failed);
std::string next_after(const failed_daemons& failed, const std::string& step);
