// What the library calls in libc to reach daemons, shared memory, files, processes and the shell, defined here so that
// a rehearsal can serve it. Outside of one each call goes straight on to libc. The other functions of libc that the
// library calls change nothing that outlives the process.

#include "tools/utmctl/libc.h"
#include "tools/utmctl/rehearsal.h"

#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

rehearsal* rehearsed()
{
    return rehearsal::current();
}

const char* path_in(const sockaddr* address)
{
    return address->sa_family == AF_UNIX ? reinterpret_cast<const sockaddr_un*>(address)->sun_path : "";
}

void settle(int fd)
{
    if (rehearsed() == nullptr)
        return;
    rehearsed()->files.settle(fd);
    rehearsed()->daemons.forget(fd);
}

FILE* open_stream(const char* path, const char* mode)
{
    return rehearsed() ? rehearsed()->files.fopen(path, mode) : libc<FILE*>("fopen", path, mode);
}

} // namespace

extern "C" {

int connect(int fd, const sockaddr* address, socklen_t length)
{
    return rehearsed() ? rehearsed()->daemons.connect(fd, path_in(address)) : libc<int>("connect", fd, address, length);
}

ssize_t send(int fd, const void* data, size_t size, int flags)
{
    return rehearsed() ? rehearsed()->daemons.send(fd, data, size, flags)
                       : libc<ssize_t>("send", fd, data, size, flags);
}

ssize_t write(int fd, const void* data, size_t size)
{
    return rehearsed() ? rehearsed()->daemons.write(fd, data, size) : libc<ssize_t>("write", fd, data, size);
}

int bind(int fd, const sockaddr* address, socklen_t length) noexcept
{
    return rehearsed() ? rehearsed()->files.change(path_in(address), "create as a socket")
                       : libc<int>("bind", fd, address, length);
}

int chmod(const char* path, mode_t mode) noexcept
{
    return rehearsed() ? rehearsed()->files.change(path, "set the mode of") : libc<int>("chmod", path, mode);
}

int access(const char* path, int mode) noexcept
{
    return rehearsed() ? rehearsed()->files.access(path, mode) : libc<int>("access", path, mode);
}

int stat(const char* path, struct stat* file) noexcept
{
    return rehearsed() ? rehearsed()->files.stat(path, file) : libc<int>("stat", path, file);
}

int unlink(const char* path) noexcept
{
    return rehearsed() ? rehearsed()->files.unlink(path) : libc<int>("unlink", path);
}

int open(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return rehearsed() ? rehearsed()->files.open(path, flags, mode) : libc<int>("open", path, flags, mode);
}

FILE* fopen(const char* path, const char* mode)
{
    return open_stream(path, mode);
}

FILE* fopen64(const char* path, const char* mode)
{
    return open_stream(path, mode);
}

int close(int fd)
{
    settle(fd);
    return libc<int>("close", fd);
}

int fclose(FILE* stream)
{
    if (rehearsed())
        fflush(stream);
    settle(fileno(stream));
    return libc<int>("fclose", stream);
}

int system(const char* command)
{
    return rehearsed() ? rehearsed()->files.run(command) : libc<int>("system", command);
}

FILE* popen(const char* command, const char* type)
{
    return rehearsed() ? rehearsed()->files.start(command) : libc<FILE*>("popen", command, type);
}

int pclose(FILE* stream)
{
    return rehearsed() ? fclose(stream) : libc<int>("pclose", stream);
}

int kill(pid_t process, int signal) noexcept
{
    return rehearsed() && signal != 0 ? rehearsed()->signal(process, signal) : libc<int>("kill", process, signal);
}

int usleep(useconds_t time)
{
    return rehearsed() ? 0 : libc<int>("usleep", time);
}

int shmget(key_t key, size_t size, int flags) noexcept
{
    return rehearsed() ? rehearsed()->memory.shmget(key, size, flags) : libc<int>("shmget", key, size, flags);
}

void* shmat(int id, const void* address, int flags) noexcept
{
    return rehearsed() ? rehearsed()->memory.shmat(id) : libc<void*>("shmat", id, address, flags);
}

int shmdt(const void* address) noexcept
{
    return rehearsed() ? 0 : libc<int>("shmdt", address);
}

int semget(key_t key, int count, int flags) noexcept
{
    return rehearsed() ? rehearsed()->memory.semget(key, count, flags) : libc<int>("semget", key, count, flags);
}

int semctl(int id, int number, int command, ...) noexcept
{
    va_list rest;
    va_start(rest, command);
    const long argument = va_arg(rest, long);
    va_end(rest);
    return rehearsed() ? rehearsed()->memory.semctl(id, number, command, argument)
                       : libc<int>("semctl", id, number, command, argument);
}

int semop(int id, sembuf* operations, size_t count) noexcept
{
    return rehearsed() ? 0 : libc<int>("semop", id, operations, count);
}

} // extern "C"
