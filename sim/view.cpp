#include "sim/view.h"

#include "sim/failure.h"
#include "sim/loopback.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace sim {

namespace {

namespace fs = std::filesystem;

constexpr char stage[] = "/tmp/.stage";
constexpr int usual_process_limit = 32768;
constexpr int own_process_limit = 8192; // each number costs a link

// The content filter's kernel module is not there, so plain files stand for its switches. What they hold before the
// first write is the simulator's own choice.
struct kernel_switch {
    const char* name;
    const char* content;
};
constexpr kernel_switch kernel_switches[] = {
    {"cfilter_enable", "0\n"},
    {"cfilter_hdf_enable", "no\n"},
    {"cfilter_redirect_url", ""},
};

// A folder that a private mount would hide, held open so that it can be mounted again on its path.
struct kept_folder {
    fs::path path;
    int fd;
};
std::vector<kept_folder> kept_folders;

void mount_or_fail(const char* source, const fs::path& target, const char* type, unsigned long flags,
                   const char* options = nullptr)
{
    if (mount(source, target.c_str(), type, flags, options) != 0)
        fail("cannot mount " + target.string());
}

void mount_memory(const fs::path& target, const char* options)
{
    mount_or_fail("utm-gateway", target, "tmpfs", MS_NOSUID, options);
}

void move_mount_to(const fs::path& from, const fs::path& to)
{
    mount_or_fail(from.c_str(), to, nullptr, MS_MOVE);
}

bool lies_below(const fs::path& path, const fs::path& folder)
{
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first == folder.end();
}

void keep(const std::string& folder)
{
    fs::path path = fs::canonical(folder);
    for (const char* hidden : {"/tmp", "/dev", "/run"}) {
        if (lies_below(path, hidden))
            kept_folders.push_back({path, open(path.c_str(), O_PATH | O_CLOEXEC)});
    }
}

// The kept folders that lie below a freshly mounted one appear again.
void mount_kept(const fs::path& fresh)
{
    for (const kept_folder& kept : kept_folders) {
        if (!lies_below(kept.path, fresh))
            continue;
        fs::create_directories(kept.path);
        std::string source = "/proc/self/fd/" + std::to_string(kept.fd);
        mount_or_fail(source.c_str(), kept.path, nullptr, MS_BIND | MS_REC);
    }
}

void mount_fresh(const fs::path& target, const char* options)
{
    mount_memory(target, options);
    mount_kept(target);
}

void write_kernel_switches(const fs::path& net)
{
    for (const kernel_switch& file : kernel_switches)
        std::ofstream(net / file.name, std::ios::trunc) << file.content;
}

bool is_process(const std::string& name)
{
    return name.find_first_not_of("0123456789") == std::string::npos;
}

// Since Linux 6.14 a PID namespace limits its numbers for itself; before, a limit would be the whole machine's.
bool has_limit_of_its_own()
{
    utsname kernel = {};
    int major_number = 0;
    int minor_number = 0;
    return uname(&kernel) == 0 && sscanf(kernel.release, "%d.%d", &major_number, &minor_number) == 2 &&
           (major_number > 6 || (major_number == 6 && minor_number >= 14));
}

// Returns the greatest process number to reckon with.
int limit_processes(const fs::path& kernel)
{
    if (!has_limit_of_its_own())
        return usual_process_limit;
    std::ofstream limit(kernel / "sys/kernel/pid_max");
    limit << own_process_limit << std::flush;
    return limit ? own_process_limit : usual_process_limit;
}

// Where the kernel's /proc has net, a link that leads into each process, nothing can be mounted. So /proc becomes a
// folder of links into the kernel's one, and its net/ a folder of its own.
void build_proc(const fs::path& proc)
{
    const fs::path kernel = proc / ".kernel";
    fs::create_directories(kernel);
    mount_memory(proc, "mode=0755");
    fs::create_directories(kernel);
    mount_or_fail("proc", kernel, "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC);
    fs::create_directory(proc / "net");
    write_kernel_switches(proc / "net");
    for (const auto& entry : fs::directory_iterator(kernel)) {
        std::string name = entry.path().filename();
        if (!is_process(name) && name != "net")
            fs::create_symlink(".kernel/" + name, proc / name);
    }
    for (const auto& entry : fs::directory_iterator(kernel / "net")) {
        std::string name = entry.path().filename();
        fs::create_symlink("../.kernel/net/" + name, proc / "net" / name);
    }
    const int last = limit_processes(kernel);
    for (int process = 1; process <= last; process++) {
        std::string name = std::to_string(process);
        fs::create_symlink(".kernel/" + name, proc / name);
    }
}

void bind_device(const fs::path& dev, const std::string& name)
{
    const fs::path device = "/dev/" + name;
    if (!fs::exists(device))
        return;
    std::ofstream(dev / name).close();
    mount_or_fail(device.c_str(), dev / name, nullptr, MS_BIND);
}

void build_dev(const fs::path& dev)
{
    fs::create_directories(dev);
    mount_memory(dev, "mode=0755");
    for (const char* device : {"null", "zero", "full", "random", "urandom", "tty"})
        bind_device(dev, device);
    fs::create_directory(dev / "shm");
    mount_memory(dev / "shm", "mode=1777");
    fs::create_directory(dev / "pts");
    if (fs::exists("/dev/pts"))
        mount_or_fail("/dev/pts", dev / "pts", nullptr, MS_BIND | MS_REC);
    fs::create_symlink("pts/ptmx", dev / "ptmx");
    fs::create_symlink("/proc/self/fd", dev / "fd");
    fs::create_symlink("/proc/self/fd/0", dev / "stdin");
    fs::create_symlink("/proc/self/fd/1", dev / "stdout");
    fs::create_symlink("/proc/self/fd/2", dev / "stderr");
}

// The library lies over its folder in a layer of its own: the folder's other files stay, and the machine's own is not
// touched.
void install_library(const fs::path& layer, const std::string& library)
{
    const fs::path key_file = KQUTM_IPC_KEY_FILE;
    fs::create_directories(layer);
    mount_memory(layer, "mode=0755");
    fs::copy_file(library, layer / key_file.filename());
    fs::create_symlink(key_file.filename(), layer / "libkqutm.so.1");
    std::string options = "lowerdir=" + layer.string() + ":" + key_file.parent_path().string();
    mount_or_fail("utm-gateway", key_file.parent_path(), "overlay", 0, options.c_str());
    umount2(layer.c_str(), MNT_DETACH);
}

bool is_folder_of_its_own(const char* path)
{
    return fs::is_directory(path) && fs::canonical(path) == fs::path(path);
}

void mount_run()
{
    mount_fresh("/run", "mode=0755");
    if (is_folder_of_its_own("/var/run"))
        mount_memory("/var/run", "mode=0755");
}

} // namespace

void build_view(const gateway_view& view)
{
    umask(022);
    for (const std::string& folder : view.kept)
        keep(folder);
    const std::string library_fd = "/proc/self/fd/" + std::to_string(open(view.library.c_str(), O_RDONLY | O_CLOEXEC));
    mount_or_fail(nullptr, "/", nullptr, MS_REC | MS_PRIVATE);
    mount_memory("/tmp", "mode=1777");
    build_proc(fs::path(stage) / "proc");
    build_dev(fs::path(stage) / "dev");
    install_library(fs::path(stage) / "lib", library_fd);
    move_mount_to(fs::path(stage) / "dev", "/dev");
    move_mount_to(fs::path(stage) / "proc", "/proc");
    fs::remove_all(stage);
    mount_kept("/tmp");
    mount_kept("/dev");
    mount_run();
    bring_up_loopback(view.addresses);
}

void restart_view()
{
    if (unshare(CLONE_NEWIPC) != 0)
        fail("cannot leave the System V objects behind");
    umount2("/tmp", MNT_DETACH);
    mount_fresh("/tmp", "mode=1777");
    umount2("/run", MNT_DETACH);
    mount_run();
    for (const auto& entry : fs::directory_iterator("/dev")) {
        if (entry.is_socket())
            fs::remove(entry.path());
    }
    write_kernel_switches("/proc/net");
}

} // namespace sim
