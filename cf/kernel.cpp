// The kernel's side of the filter: its switches, the command to the daemon that goes with them, and the redirect page.

#include "kqutm/cf.h"
#include "kqutm/daemon.h"

#include "common/errno_guard.h"
#include "common/files.h"
#include "common/shell.h"
#include "common/unique_fd.h"

#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr size_t switch_command_size = 256;
constexpr size_t dump_command_size = 2048;
constexpr size_t longest_redirect_text = 1023;

constexpr int command_checks = 100;
constexpr useconds_t command_pause = 100000;

// Waits until the daemon has taken an earlier command, and takes it away from a daemon that does not.
void await_taken_command()
{
    for (int checks = 0; checks < command_checks; ++checks) {
        if (!file_exists(UTM_CF_COMMAND_FILE))
            return;
        usleep(command_pause);
    }
    if (file_exists(UTM_CF_COMMAND_FILE))
        unlink(UTM_CF_COMMAND_FILE);
}

// The daemon's process, or 0. Numbers that kill would take for a group or for everybody are no daemon's.
pid_t daemon_process()
{
    const owned_file file(fopen(UTM_CF_PID_FILE, "re"));
    long process;
    if (file == nullptr || fscanf(file.get(), "%ld", &process) != 1)
        return 0;
    return process > 0 && process <= INT_MAX ? static_cast<pid_t>(process) : 0;
}

// The file as a stream, locked until that is closed; null, and the file closed, when that cannot be done.
owned_file lock_stream(unique_fd file)
{
    if (flock(file.get(), LOCK_EX) != 0)
        return nullptr;
    owned_file stream(fdopen(file.get(), "w"));
    if (stream != nullptr)
        file.release();
    return stream;
}

// Deliberate: a command file that has come up since the wait is not truncated.
owned_file open_command_file()
{
    unique_fd file(open(UTM_CF_COMMAND_FILE, O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    if (file.get() < 0)
        return nullptr;
    owned_file stream = lock_stream(std::move(file));
    if (stream == nullptr)
        unlink(UTM_CF_COMMAND_FILE);
    return stream;
}

void command_daemon(int command)
{
    await_taken_command();
    const pid_t daemon = daemon_process();
    if (daemon == 0)
        return;
    owned_file file = open_command_file();
    if (file == nullptr)
        return;
    fprintf(file.get(), "%d\n", command);
    file.reset();
    kill(daemon, SIGHUP);
}

} // namespace

UTM_API int32_t __utm_cf_activate(int32_t mode)
{
    run_shell<switch_command_size>("echo %d > %s", mode, UTM_CF_KERNEL_ENABLE);
    run_shell<switch_command_size>("echo %s > %s", mode != 0 ? "yes" : "no", UTM_CF_KERNEL_HDF_ENABLE);
    // Deliberate: a mode other than 0 and 1 switches the kernel on and the daemon off.
    command_daemon(mode == 1 ? UTM_CF_COMMAND_ON : UTM_CF_COMMAND_OFF);
    return 0;
}

UTM_API void dump_cf_activate(const char* path)
{
    if (path == nullptr)
        return;
    run_shell<dump_command_size>("echo ====%s >> %s", __func__, path);
    run_shell<dump_command_size>("cat %s >> %s", UTM_CF_KERNEL_ENABLE, path);
    run_shell<dump_command_size>("cat %s >> %s", UTM_CF_KERNEL_HDF_ENABLE, path);
    run_shell<dump_command_size>("echo >> %s", path);
}

UTM_API int32_t utm_cf_redirect_page(const char* text)
{
    if (text == nullptr)
        return fail(EINVAL);
    const size_t length = strlen(text);
    if (length > longest_redirect_text) {
        utm_log(UTM_APPCF_LOG, "The string length is too long.\n");
        return fail(EINVAL);
    }
    const int page = open(UTM_CF_KERNEL_REDIRECT_URL, O_WRONLY | O_CLOEXEC);
    if (page < 0) {
        utm_log(UTM_APPCF_LOG, "Open /proc/net/cfilter_redirect_url fail.\n");
        return -1;
    }
    // Deliberate: an empty text is one zero byte, and whether the kernel took it is not looked at.
    (void)!write(page, text, length != 0 ? length : 1);
    // Deliberate: a page that got descriptor 0 stays open.
    if (page != 0)
        close(page);
    return 0;
}
