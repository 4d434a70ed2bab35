// The library against its floor, in the namespaces of a simulated gateway.

#include "bench/daemons.h"
#include "bench/pairs.h"
#include "bench/report.h"
#include "bench/statistics.h"

#include "sim/namespaces.h"

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
#include <utility>
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

void tell(benchmark::State& state, const rounds& measured, double goal)
{
    const summary took = measured.summarize();
    state.counters["floor_ns"] = took.floor;
    state.counters["library_ns"] = took.library;
    state.counters["ratio"] = took.ratio;
    state.counters["spread"] = took.spread;
    state.counters["goal"] = goal;
}

void measure(benchmark::State& state, const pair& pair)
{
    fill_registry();
    struct side {
        void (*run)();
        double took = 0;
    };
    side floor = {pair.floor};
    side library = {pair.library};
    side* outer = &library;
    side* inner = &floor;
    rounds measured;
    pair.floor();
    pair.library();
    for ([[maybe_unused]] auto _ : state) {
        // Every other round the other way round: what one leaves to the daemon to do falls into the time of the next.
        std::swap(outer, inner);
        for (side* each : {outer, inner, inner, outer})
            each->took += nanoseconds(each->run);
        measured.add(floor.took, library.took);
        state.SetIterationTime(library.took / 2e9);
        floor.took = library.took = 0;
    }
    tell(state, measured, pair.goal);
}

// The loader compares by itself; this reads what it prints.
void measure_loading(benchmark::State& state)
{
    rounds measured;
    FILE* loader = popen(KQUTM_LOADER " " KQUTM_EMPTY_LIBRARY " " KQUTM_LIBRARY " 500", "r");
    double took[4];
    while (fscanf(loader, "%lf %lf %lf %lf", &took[0], &took[1], &took[2], &took[3]) == 4)
        measured.add(took[0] + took[3], took[1] + took[2]);
    if (pclose(loader) != 0) {
        fprintf(stderr, "the loader failed\n");
        exit(EXIT_FAILURE);
    }
    for ([[maybe_unused]] auto _ : state)
        state.SetIterationTime(measured.summarize().library / 1e9);
    tell(state, measured, 1.5);
}

void look_at(benchmark::State& state, const limit& limit)
{
    const double floor = limit.floor == nullptr ? 0 : limit.floor();
    const double library = limit.library();
    for ([[maybe_unused]] auto _ : state)
        state.SetIterationTime(0);
    state.counters["floor"] = floor;
    state.counters["library"] = library;
    state.counters["limit"] = limit.added == 0 ? 0 : floor + limit.added;
}

// Keeps what is measured, for table and plot.
class collector : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            const std::string& name = run.run_name.function_name;
            const auto figure = [&](const char* counter) { return run.counters.at(counter).value; };
            if (run.counters.contains("limit"))
                limits.push_back({name, figure("floor"), figure("library"), figure("limit")});
            else
                ratios.push_back({name,
                                  {figure("floor_ns"), figure("library_ns"), figure("ratio"), figure("spread")},
                                  figure("goal")});
            fprintf(stderr, "%s\n", name.c_str());
        }
    }

    std::vector<figures> ratios;
    std::vector<absolute> limits;
};

int compare_times(const char* plot)
{
    // First, while little memory has been used that a measured process would inherit.
    for (const limit& limit : limits())
        benchmark::RegisterBenchmark(limit.name, [&limit](benchmark::State& state) { look_at(state, limit); })
            ->Iterations(1)
            ->UseManualTime();
    for (const pair& pair : pairs())
        benchmark::RegisterBenchmark(pair.name, [&pair](benchmark::State& state) { measure(state, pair); })
            ->Iterations(pair.rounds)
            ->UseManualTime();
    benchmark::RegisterBenchmark("dlopen", measure_loading)->Iterations(1)->UseManualTime();
    collector table;
    benchmark::RunSpecifiedBenchmarks(&table);
    print_table(table.ratios);
    print_limits(table.limits);
    if (plot != nullptr)
        write_plot(plot, table.ratios);
    return all_met(table.ratios, table.limits) ? EXIT_SUCCESS : EXIT_FAILURE;
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
    fill_registry();
    for (const pair& pair : pairs()) {
        if (pair.processes > 1) // callgrind counts one
            continue;
        const std::string name = std::to_string(pair.records) + " " + std::to_string(pair.added) + " " + pair.name;
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
