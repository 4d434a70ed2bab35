// The program utm-gateway.

#include "sim/control.h"
#include "sim/failure.h"
#include "sim/inside.h"
#include "sim/names.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <functional>
#include <iostream>
#include <string>
#include <unistd.h>
#include <vector>

namespace sim {

namespace {

struct settings {
    std::string library;
    std::string scenario_file;
    std::string trace_file;
    bool trace_bytes = false;
    std::vector<std::string> faults;
    std::vector<std::string> words; // the command, or a fault
    std::string daemon;
};

scenario scenario_for(const settings& given)
{
    scenario start = given.scenario_file.empty() ? scenario{} : read_scenario(given.scenario_file);
    for (const std::string& fault : given.faults)
        add_fault(start, fault);
    return start;
}

gateway_options options_for(const settings& given)
{
    const std::string path = given.trace_file.empty() ? "/dev/null" : given.trace_file;
    int trace = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644);
    if (trace < 0)
        fail("cannot write " + path);
    return {.start = scenario_for(given), .trace = trace, .trace_bytes = given.trace_bytes};
}

// The trace is opened before: it is a file of the machine outside.
int run_on_gateway(const settings& given, const std::function<int()>& command)
{
    const gateway_options options = options_for(given);
    return run_in_namespaces(view_for(given.library, options.start), [&] {
        gateway daemons(options);
        return command();
    });
}

int run(const settings& given)
{
    return run_on_gateway(given, [&] { return run_command(given.words); });
}

int shell(const settings& given)
{
    const kept_terminal terminal;
    return run_on_gateway(given, run_shell);
}

int serve(const settings& given)
{
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGINT);
    sigprocmask(SIG_BLOCK, &ends, nullptr);
    gateway daemons(options_for(given));
    std::cout << "ready" << std::endl;
    int signal = 0;
    sigwait(&ends, &signal);
    return 0;
}

json state_of(const daemon_kind& kind)
{
    return ask(kind.name, {{"do", "state"}});
}

json state_of_all()
{
    if (!is_controlled(supervisor_name))
        throw std::runtime_error("no gateway runs here");
    json states;
    for (const daemon_kind& kind : daemon_kinds())
        states[kind.name] = is_controlled(kind.name) ? state_of(kind) : json();
    return states;
}

int state(const settings& given)
{
    const json states = given.daemon.empty() ? state_of_all() : state_of(daemon_named(given.daemon));
    std::cout << states.dump(2) << '\n';
    return 0;
}

// What is no fault is wrong usage, and none of the others is added.
json request_for(const std::string& word)
{
    if (word == "clear")
        return {{"do", "clear"}};
    return {{"do", "fault"}, {"fault", to_text(fault_from(word))}};
}

int fault(const settings& given)
{
    const std::string name = daemon_named(given.daemon).name;
    std::vector<json> requests;
    for (const std::string& word : given.words)
        requests.push_back(request_for(word));
    json faults;
    if (requests.empty())
        faults = ask(name, {{"do", "faults"}});
    for (const json& request : requests)
        ask(name, request);
    for (const json& text : faults)
        std::cout << text.get<std::string>() << '\n';
    return 0;
}

int ask_supervisor(const settings& given, const char* what)
{
    ask(supervisor_name, {{"do", what}, {"daemon", daemon_named(given.daemon).name}});
    return 0;
}

int restart(const settings& given)
{
    return ask_supervisor(given, "restart");
}

int stop(const settings& given)
{
    return ask_supervisor(given, "stop");
}

int show_trace(const settings& given)
{
    int fd = open(given.trace_file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        fail("cannot read " + given.trace_file);
    print_trace(read_trace(fd));
    close(fd);
    return 0;
}

struct command {
    const char* name;
    int (*handle)(const settings& given);
    void (*declare)(CLI::App& app, settings& into);
    const char* help;
    const char* notes;
    const char* example;
};

void declare_daemons(CLI::App& app, settings& into)
{
    app.add_option("--scenario", into.scenario_file, "JSON file: state, faults and addresses to start with");
    app.add_option("--fault", into.faults, "DAEMON:CODE:KIND[=VALUE][:COUNT], as in cf:1:refuse=5; may be repeated")
        ->allow_extra_args(false);
    app.add_option("--trace", into.trace_file, "Write a JSON line for each request that a daemon sees");
    app.add_flag("--trace-bytes", into.trace_bytes, "Whole records in the trace, in hex");
}

void declare_gateway(CLI::App& app, settings& into)
{
    declare_daemons(app, into);
    app.add_option("--library", into.library, "The library to install instead of this program's own");
}

void declare_run(CLI::App& app, settings& into)
{
    declare_gateway(app, into);
    app.add_option("COMMAND", into.words, "What to run, after --")->required();
}

void declare_daemon(CLI::App& app, settings& into)
{
    app.add_option("DAEMON", into.daemon, "One of " + names_of(daemon_kinds()))->required();
}

void declare_state(CLI::App& app, settings& into)
{
    app.add_option("DAEMON", into.daemon, "One of " + names_of(daemon_kinds()) + "; all when left out");
}

void declare_fault(CLI::App& app, settings& into)
{
    declare_daemon(app, into);
    app.add_option("FAULT", into.words, "CODE:KIND[=VALUE][:COUNT], or \"clear\"; without one, they are listed");
}

void declare_trace(CLI::App& app, settings& into)
{
    app.add_option("FILE", into.trace_file, "What --trace wrote")->required();
}

constexpr char fault_kinds[] =
    "Kinds: refuse=STATUS status=STATUS delay=MILLISECONDS silence close short=BYTES split=PIECES garbage\n"
    "endless crash stop. CODE may be \"any\". For the start alone and without CODE: absent deaf.\n";

constexpr command commands[] = {
    {"run", run, declare_run, "Run a command on a gateway of its own and pass on its exit status", fault_kinds,
     "run --trace trace.jsonl -- utmctl profile create 7"},
    {"shell", shell, declare_gateway, "Open a shell on a gateway of its own", fault_kinds,
     "shell --scenario home.json"},
    {"serve", serve, declare_daemons, "Run the daemons here, without namespaces, until SIGTERM or SIGINT", fault_kinds,
     "serve --fault app:absent"},
    {"state", state, declare_state, "Inside: print what the daemons hold, as JSON", "", "state cf"},
    {"fault", fault, declare_fault, "Inside: make a daemon fail, or well again", fault_kinds, "fault cf 1:refuse=5:2"},
    {"restart", restart, declare_daemon, "Inside: start a daemon anew, without state and faults", "", "restart cf"},
    {"stop", stop, declare_daemon, "Inside: end a daemon and remove its socket", "", "stop cf"},
    {"trace", show_trace, declare_trace, "Print a trace as a table", "", "trace trace.jsonl"},
};

// Where a standard descriptor is closed, none of the program's own may take its place.
void occupy_standard_descriptors()
{
    int fd = STDIN_FILENO;
    while (fd >= 0 && fd <= STDERR_FILENO)
        fd = open("/dev/null", O_RDWR | O_CLOEXEC);
    close(fd);
}

int dispatch(int count, char** arguments)
{
    CLI::App app("Simulates a whole gateway for programs that use libkqutm.", "utm-gateway");
    app.set_version_flag("--version", "utm-gateway " KQUTM_VERSION);
    // None is required of the parser, which would no longer name a word that is none.
    app.require_subcommand(0, 1);
    settings given;
    for (const command& row : commands) {
        CLI::App* subcommand = app.add_subcommand(row.name, row.help);
        subcommand->footer(row.notes + ("Example: utm-gateway " + std::string(row.example)));
        row.declare(*subcommand, given);
    }
    try {
        app.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    for (const command& row : commands) {
        if (app.got_subcommand(row.name))
            return row.handle(given);
    }
    throw input_error("a command is required; --help lists them");
}

} // namespace

} // namespace sim

int main(int count, char** arguments)
{
    try {
        sim::occupy_standard_descriptors();
        return sim::dispatch(count, arguments);
    } catch (const sim::input_error& error) {
        std::cerr << "utm-gateway: " << error.what() << '\n';
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "utm-gateway: " << error.what() << '\n';
        return 1;
    }
}
