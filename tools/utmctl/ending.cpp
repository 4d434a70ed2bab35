#include "tools/utmctl/ending.h"

#include <ctime>
#include <unistd.h>

namespace {

constexpr int endings[] = {SIGINT, SIGTERM};

void end(int)
{
    _exit(0);
}

bool is_ignored(int signal)
{
    struct sigaction now = {};
    return sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;
}

} // namespace

void end_on_signals()
{
    struct sigaction ending = {};
    ending.sa_handler = end;
    for (const int signal : endings) {
        if (!is_ignored(signal))
            sigaction(signal, &ending, nullptr);
    }
}

unbroken::unbroken()
{
    sigset_t all;
    sigemptyset(&all);
    for (const int signal : endings)
        sigaddset(&all, signal);
    sigprocmask(SIG_BLOCK, &all, &before_);
}

unbroken::~unbroken()
{
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

void sleep_for(double seconds)
{
    timespec left = {.tv_sec = static_cast<time_t>(seconds), .tv_nsec = 0};
    left.tv_nsec = static_cast<long>((seconds - static_cast<double>(left.tv_sec)) * 1e9);
    while (nanosleep(&left, &left) != 0)
        ;
}
