#include "tools/utmctl/waiting.h"

#include "tools/utmctl/dry_run.h"
#include "tools/utmctl/ending.h"
#include "tools/utmctl/remedy.h"
#include "tools/utmctl/text_list.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <set>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using clock_type = std::chrono::steady_clock;

constexpr double between_attempts = 0.05; // seconds

bool reads_standard_input(const request& asked)
{
    const auto file = asked.values.find(texts_from_file.name);
    return file != asked.values.end() && file->second == std::vector<std::string>{"-"};
}

// Puts what comes from standard input into a file in its place, where it can be read more than once.
void keep_standard_input()
{
    const int file = memfd_create("standard-input", MFD_CLOEXEC);
    char block[65536];
    for (ssize_t size; (size = read(STDIN_FILENO, block, sizeof block)) > 0;) {
        if (write(file, block, static_cast<size_t>(size)) != size)
            break;
    }
    dup2(file, STDIN_FILENO);
    close(file);
    lseek(STDIN_FILENO, 0, SEEK_SET);
}

// A rehearsal tells them, for these very arguments.
std::set<std::string> daemons_of(const request& asked)
{
    const bool input = reads_standard_input(asked);
    if (input)
        keep_standard_input();
    const outcome rehearsed = dry_run(asked);
    std::set<std::string> daemons;
    for (const json& step : rehearsed.result.at("steps")) {
        if (step.at("step") == "send")
            daemons.insert(step.at("daemon"));
    }
    if (input)
        lseek(STDIN_FILENO, 0, SEEK_SET);
    return daemons;
}

const watched_daemon& daemon_named(const std::string& name)
{
    return *std::find_if(std::begin(watched_daemons), std::end(watched_daemons),
                         [&](const watched_daemon& one) { return one.row.name == name; });
}

[[noreturn]] void tell_absent(const request& asked, const watched_daemon& daemon, const probe& seen)
{
    char within[32];
    snprintf(within, sizeof within, "within %g s", asked.wait);
    throw failure({.status = exit_status::unreachable,
                   .what = asked.words + " was not begun " + within,
                   .culprits = {{name_of(daemon.who), daemon.row.path, seen.failed.cause}},
                   .next = remedy_for(daemon.who, seen) + ", then run the command again"});
}

void wait_for(const watched_daemon& daemon, const request& asked, clock_type::time_point deadline)
{
    for (;;) {
        const std::chrono::duration<double> left = deadline - clock_type::now();
        const probe seen = exchange_with(daemon.row, {}, left.count());
        if (seen.works())
            return;
        if (clock_type::now() >= deadline)
            tell_absent(asked, daemon, seen);
        sleep_for(between_attempts);
    }
}

} // namespace

void wait_for_daemons(const request& asked)
{
    const auto deadline =
        clock_type::now() + std::chrono::duration_cast<clock_type::duration>(std::chrono::duration<double>(asked.wait));
    for (const std::string& name : daemons_of(asked))
        wait_for(daemon_named(name), asked, deadline);
}
