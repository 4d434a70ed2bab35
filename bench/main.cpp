// The library against its floor, in the namespaces of a simulated gateway.

#include "bench/daemons.h"
#include "bench/pairs.h"
#include "bench/report.h"

#include "sim/namespaces.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <sched.h>
#include <string>
#include <sys/prctl.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

namespace {

using namespace bench;

// Client and daemons share one processor: what one saves, the other does not hide.
void stay_on_one_processor()
{
    cpu_set_t allowed;
    sched_getaffinity(0, sizeof allowed, &allowed);
    for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (!CPU_ISSET(processor, &allowed))
            continue;
        CPU_ZERO(&allowed);
        CPU_SET(processor, &allowed);
        sched_setaffinity(0, sizeof allowed, &allowed);
        return;
    }
}

double nanoseconds(void (*run)())
{
    const auto begin = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count();
}

double quantile(std::vector<double> values, double share)
{
    const auto place = values.begin() + static_cast<long>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

void measure(benchmark::State& state, const pair& pair)
{
    std::vector<double> floor;
    std::vector<double> library;
    std::vector<double> ratio;
    pair.floor();
    pair.library();
    for ([[maybe_unused]] auto _ : state) {
        const double first = nanoseconds(pair.floor);
        const double second = nanoseconds(pair.library);
        const double third = nanoseconds(pair.library);
        const double fourth = nanoseconds(pair.floor);
        floor.insert(floor.end(), {first, fourth});
        library.insert(library.end(), {second, third});
        ratio.push_back((second + third) / (first + fourth));
        state.SetIterationTime((second + third) / 2e9);
    }
    state.counters["floor_ns"] = quantile(floor, 0.5);
    state.counters["library_ns"] = quantile(library, 0.5);
    state.counters["ratio"] = quantile(ratio, 0.5);
    state.counters["spread"] = (quantile(ratio, 0.75) - quantile(ratio, 0.25)) / 2;
    state.counters["goal"] = pair.goal;
}

// Keeps what is measured, for table and plot.
class collector : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            const auto figure = [&](const char* name) { return run.counters.at(name).value; };
            rows.push_back({run.run_name.function_name, figure("floor_ns"), figure("library_ns"), figure("ratio"),
                            figure("spread"), figure("goal")});
            fprintf(stderr, "%s\n", run.run_name.function_name.c_str());
        }
    }

    std::vector<figures> rows;
};

int compare_times(const char* plot)
{
    for (const pair& pair : pairs())
        benchmark::RegisterBenchmark(pair.name, [&pair](benchmark::State& state) { measure(state, pair); })
            ->Iterations(pair.rounds)
            ->UseManualTime();
    collector table;
    benchmark::RunSpecifiedBenchmarks(&table);
    print_table(table.rows);
    if (plot != nullptr)
        write_plot(plot, table.rows);
    return EXIT_SUCCESS;
}

// Under callgrind: what it has counted during the call, in a dump of that name. The name is read later, so it has to
// last.
void count(void (*run)(), const std::string& name)
{
    static std::deque<std::string> names;
    const char* const kept = names.emplace_back(name).c_str();
    run();
    CALLGRIND_ZERO_STATS;
    run();
    CALLGRIND_DUMP_STATS_AT(kept);
}

int count_instructions()
{
    for (const pair& pair : pairs()) {
        if (pair.processes > 1) // callgrind counts one
            continue;
        const std::string name = std::to_string(pair.records) + " " + pair.name;
        count(pair.floor, name + "|floor");
        count(pair.library, name + "|library");
    }
    return EXIT_SUCCESS;
}

int run_inside(bool instructions, const char* plot)
{
    stay_on_one_processor();
    prepare();
    start_daemons();
    return instructions ? count_instructions() : compare_times(plot);
}

// Valgrind starts inside, where it finds no namespace left to enter.
int run_under_callgrind(const std::string& self, const std::string& output)
{
    const std::string file = "--callgrind-out-file=" + output;
    execlp("valgrind", "valgrind", "--quiet", "--tool=callgrind", file.c_str(), self.c_str(), "--inside", nullptr);
    perror("valgrind");
    return EXIT_FAILURE;
}

const char* option(int count, char** arguments, const char* name)
{
    for (int i = 1; i < count; ++i) {
        if (strncmp(arguments[i], name, strlen(name)) == 0)
            return arguments[i] + strlen(name);
    }
    return nullptr;
}

} // namespace

int main(int count, char** arguments)
{
    benchmark::Initialize(&count, arguments);
    if (option(count, arguments, "--inside") != nullptr)
        return run_inside(true, nullptr);
    const std::string self = std::filesystem::canonical("/proc/self/exe");
    const char* instructions = option(count, arguments, "--instructions=");
    const char* plot = option(count, arguments, "--plot=");
    const std::vector<std::string> kept = {KQUTM_BUILD_FOLDER, std::filesystem::current_path()};
    return sim::run_in_namespaces({.library = KQUTM_LIBRARY, .addresses = {}, .kept = kept}, [&] {
        return instructions != nullptr ? run_under_callgrind(self, instructions) : run_inside(false, plot);
    });
}
