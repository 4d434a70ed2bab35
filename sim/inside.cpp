#include "sim/inside.h"

#include "kqutm/common.h"
#include "sim/process.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

namespace sim {

namespace {

namespace fs = std::filesystem;

fs::path program_folder()
{
    static const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    return folder;
}

// The library that this program runs with.
fs::path own_library()
{
    Dl_info info = {};
    if (dladdr(reinterpret_cast<void*>(&utm_log), &info) == 0 || info.dli_fname == nullptr)
        throw std::runtime_error("cannot find the library; name it by --library");
    return fs::canonical(info.dli_fname);
}

std::string variable(const char* name)
{
    const char* value = getenv(name);
    return value != nullptr ? value : "";
}

// The private folders themselves are to stay private.
bool may_be_kept(const fs::path& folder)
{
    std::error_code ignored;
    const fs::path path = fs::canonical(folder, ignored);
    return !path.empty() && fs::is_directory(path) && path != "/tmp" && path != "/dev" && path != "/run";
}

void set_environment()
{
    const std::string path = variable("PATH");
    setenv("PATH", (program_folder().string() + (path.empty() ? ":/usr/bin:/bin" : ":" + path)).c_str(), 1);
    if (!fs::is_directory(variable("HOME")))
        setenv("HOME", "/tmp", 1);
    if (!fs::is_directory(variable("TMPDIR")))
        unsetenv("TMPDIR");
}

[[noreturn]] void become(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    const int status = errno == ENOENT ? 127 : 126;
    fprintf(stderr, "utm-gateway: %s: %s\n", arguments[0], strerror(errno));
    _exit(status);
}

int run_after(const std::function<void()>& preparation, const std::vector<std::string>& command)
{
    set_environment();
    // The same path in the gateway's view: the folder of before may lie below a mount.
    fs::current_path(fs::current_path());
    const ignored_keyboard keyboard;
    auto body = [&]() -> int {
        keyboard.restore();
        preparation();
        become(command);
    };
    return wait_for_process(start_process(body, _exit));
}

// The process group of before is none in the gateway's PID namespace, and a shell wants to put back the one it found.
void lead_a_group()
{
    setpgid(0, 0);
    give_terminal(getpid());
}

} // namespace

gateway_view view_for(const std::string& library, const scenario& start)
{
    gateway_view view = {
        .library = library.empty() ? own_library().string() : library, .addresses = start.addresses, .kept = {}};
    const fs::path library_folder = fs::absolute(view.library).parent_path();
    for (const fs::path& folder : {fs::current_path(), fs::path(variable("HOME")), program_folder(), library_folder}) {
        if (may_be_kept(folder))
            view.kept.push_back(folder);
    }
    return view;
}

int run_command(const std::vector<std::string>& command)
{
    return run_after([] {}, command);
}

int run_shell()
{
    const std::string shell = variable("SHELL").empty() ? "/bin/sh" : variable("SHELL");
    setenv("PS1", "(gateway) $ ", 1);
    if (fs::path(shell).filename() != "bash")
        return run_after(lead_a_group, {shell});
    const std::string start_file = "/run/utm-gateway/bashrc";
    std::ofstream(start_file) << "[[ -f ~/.bashrc ]] && . ~/.bashrc\nPS1='(gateway) \\w\\$ '\n";
    return run_after(lead_a_group, {shell, "--rcfile", start_file, "-i"});
}

} // namespace sim
