#pragma once

#include "tests/sandbox/key_file.h"
#include "tests/sandbox/paths.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/run.h"
#include "tests/utmctl/seven_daemons.h"
#include "tests/utmctl/stopped_lock_holder.h"

#include <memory>
#include <sys/stat.h>
#include <utility>

inline constexpr char log_folder[] = "/tmp/utm_log";
inline constexpr char log_file[] = "/tmp/utm_log/utm_libips_log";

inline constexpr char doctor_line[] = "doctor --timeout 30";

// A box on which all is well, to be broken.
class whole_box {
public:
    // The daemon at the path is missing.
    explicit whole_box(const std::string& without = "")
    {
        write_file(pid_file, std::to_string(getpid()) + "\n");
        keep<seven_daemons>(std::vector<std::string>{without});
    }
    whole_box(const whole_box&) = delete;
    whole_box& operator=(const whole_box&) = delete;
    ~whole_box()
    {
        while (!kept_.empty())
            kept_.pop_back();
    }

    // Makes what lasts as long as the box; what came last goes first.
    template <class Kept, class... Arguments> Kept& keep(Arguments&&... arguments)
    {
        const auto one = std::make_shared<Kept>(std::forward<Arguments>(arguments)...);
        kept_.push_back(one);
        return *one;
    }

private:
    std::vector<std::shared_ptr<void>> kept_;
};

inline std::string process(pid_t number)
{
    return "process " + std::to_string(number) + " (test_utmctl)";
}
