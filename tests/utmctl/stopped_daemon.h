#pragma once

#include "sim/scripted_daemon.h"
#include "tests/utmctl/stopped_process.h"

#include <string>
#include <sys/stat.h>

// Listens at the path and is stopped, so that it takes no connection.
class stopped_daemon : public stopped_process {
public:
    explicit stopped_daemon(const std::string& path)
        : stopped_process([&path] {
              const sim::scripted_daemon daemon(path, sim::script{});
              chmod(path.c_str(), 0777);
              raise(SIGSTOP);
          })
    {
    }
};
