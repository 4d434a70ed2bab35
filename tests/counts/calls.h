#pragma once

#include <string>

// What operations are made of: system calls in order, by the names of libc's functions. On top of these come only the
// two of the SIGPIPE guard around each write or send that could raise it.
namespace counts {

struct calls {
    std::string names;
};

inline calls operator""_calls(const char* names, size_t size)
{
    return {{names, size}};
}

inline calls operator+(const calls& first, const calls& second)
{
    return {first.names + " " + second.names};
}

inline calls operator*(int times, const calls& repeated)
{
    calls all = repeated;
    while (--times > 0)
        all = all + repeated;
    return all;
}

inline calls guarded(const calls& call)
{
    return "sigmask"_calls + call + "sigmask"_calls;
}

inline const calls none = {""};

// A line to a log that exists: 5.
inline const calls log_line = "access stat open write close"_calls;

// One exchange with an engine: 6 with IPS and AV, 7 with devid, 5 with IR; each further record is one more.

inline calls ips_until(const calls& received)
{
    return "socket setsockopt connect"_calls + guarded("send"_calls) + received + "close"_calls;
}

inline calls ips()
{
    return ips_until("recv"_calls);
}

inline calls devid(int records = 1)
{
    return "socket setsockopt setsockopt connect"_calls + guarded("send"_calls) + records * "recv"_calls +
           "close"_calls;
}

inline calls av(int records = 1)
{
    return "socket setsockopt connect send"_calls + records * "recv"_calls + "close"_calls;
}

inline calls ir(int records = 1)
{
    return "socket connect send"_calls + records * "recv"_calls + "close"_calls;
}

// One exchange with a config daemon: 6; each further record is one more.
inline calls config_until(const calls& received)
{
    return "socket connect"_calls + guarded("write"_calls) + "select"_calls + received + "close"_calls;
}

inline calls config(int records = 1)
{
    return config_until(records * "read"_calls);
}

// From the lock of a shared segment to its release: 8.
inline const calls open_semaphore = "stat semget"_calls;
inline const calls attach = "stat shmget shmat"_calls;
inline const calls lock_and_attach = open_semaphore + "semop"_calls + attach;
inline const calls detach_and_unlock = "shmdt semop"_calls;
inline const calls locked = lock_and_attach + detach_and_unlock;

// Has the registry been cleared since the start of the gateway?
inline const calls marker = "access"_calls;

} // namespace counts
