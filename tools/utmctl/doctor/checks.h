#pragma once

#include "tools/utmctl/finding.h"
#include "tools/utmctl/probe.h"

// What the doctor looks at, by theme. No check changes anything; one that another check makes pointless finds nothing.
namespace doctor {

struct watched_answer {
    const watched_daemon& daemon;
    probe seen;
};

struct examination {
    std::vector<watched_answer> answers; // of all daemons, in the order of their table

    bool works(const operations::daemon_row& daemon) const;
    bool is_deserted() const; // no daemon has so much as a socket
};

findings check_sockets(const examination& box);

findings check_key_file(const examination& box);
findings check_left_behind(const examination& box); // by an older library file
findings check_segments(const examination& box);
findings check_locks(const examination& box);
findings check_marker(const examination& box);
findings check_slots(const examination& box);

findings check_filter(const examination& box);
findings check_filter_daemon(const examination& box);

findings check_temporary_folder(const examination& box);
findings check_log_folder(const examination& box);
findings check_logs(const examination& box);

findings check_versions(const examination& box);

} // namespace doctor
