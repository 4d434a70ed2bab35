#pragma once

#include "tests/sandbox/key_file.h"
#include "tests/sandbox/paths.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/run.h"
#include "tests/utmctl/seven_daemons.h"
#include "tests/utmctl/stopped_lock_holder.h"

#include <sys/stat.h>

// A box on which all is well, to be broken.

inline constexpr char log_folder[] = "/tmp/utm_log";
inline constexpr char log_file[] = "/tmp/utm_log/utm_libips_log";

inline constexpr char doctor_line[] = "doctor --timeout 30";

// What keeps a box as it is, in the order in which it was built.
using kept = std::vector<std::shared_ptr<void>>;

inline kept whole_box()
{
    write_file(pid_file, std::to_string(getpid()) + "\n");
    return {std::make_shared<seven_daemons>()};
}

inline kept box_without(const std::string& path)
{
    write_file(pid_file, std::to_string(getpid()) + "\n");
    return {std::make_shared<seven_daemons>(std::vector<std::string>{path})};
}

inline std::string process(pid_t number)
{
    return "process " + std::to_string(number) + " (test_utmctl)";
}
