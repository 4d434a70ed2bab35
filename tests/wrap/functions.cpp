// The wrappers: the linker sends each call of NAME to __wrap_NAME, and __real_NAME to libc. One list names them all, in
// this folder's CMakeLists.txt.

#include "tests/wrap/intercept.h"

#include <csignal>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <ifaddrs.h>
#include <sys/file.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#endif

using wrap::intercept;
using wrap::intercept_release;

namespace {

void* const no_memory = nullptr;
FILE* const no_stream = nullptr;
void* const not_attached = reinterpret_cast<void*>(-1);
ifaddrs* const unread = reinterpret_cast<ifaddrs*>(-1);

// One thread may attach a segment where another has detached one. The thread sanitizer does not see that the first is
// gone, and would take what both do there for a race.
#ifdef __SANITIZE_THREAD__
char places;
void leave_place()
{
    __tsan_release(&places);
}
void* take_place(void* place)
{
    __tsan_acquire(&places);
    return place;
}
#else
void leave_place() {}
void* take_place(void* place)
{
    return place;
}
#endif

} // namespace

extern "C" {

void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size)
{
    return intercept(
        "malloc", no_memory, [=] { return __real_malloc(size); }, size);
}

void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size)
{
    return intercept(
        "calloc", no_memory, [=] { return __real_calloc(count, size); }, count, size);
}

void __real_free(void* block);
void __wrap_free(void* block)
{
    if (block != nullptr)
        intercept("free", 0, [=] { return __real_free(block), 0; });
}

FILE* __real_popen(const char* command, const char* type);
FILE* __wrap_popen(const char* command, const char* type)
{
    FILE* const not_started = nullptr;
    return intercept(
        "popen", not_started, [=] { return __real_popen(command, type); }, command, type);
}

key_t __real_ftok(const char* path, int project);
key_t __wrap_ftok(const char* path, int project)
{
    return intercept(
        "ftok", key_t{-1}, [=] { return __real_ftok(path, project); }, path, project);
}

int __real_socket(int domain, int type, int protocol);
int __wrap_socket(int domain, int type, int protocol)
{
    return intercept(
        "socket", -1, [=] { return __real_socket(domain, type, protocol); }, domain, type, protocol);
}

int __real_connect(int fd, const sockaddr* address, socklen_t length);
int __wrap_connect(int fd, const sockaddr* address, socklen_t length)
{
    const char* path = reinterpret_cast<const sockaddr_un*>(address)->sun_path;
    return intercept(
        "connect", -1, [=] { return __real_connect(fd, address, length); }, path, length);
}

int __real_bind(int fd, const sockaddr* address, socklen_t length);
int __wrap_bind(int fd, const sockaddr* address, socklen_t length)
{
    const char* path = reinterpret_cast<const sockaddr_un*>(address)->sun_path;
    return intercept(
        "bind", -1, [=] { return __real_bind(fd, address, length); }, path, length);
}

int __real_listen(int fd, int backlog);
int __wrap_listen(int fd, int backlog)
{
    return intercept(
        "listen", -1, [=] { return __real_listen(fd, backlog); }, backlog);
}

int __real_chmod(const char* path, mode_t mode);
int __wrap_chmod(const char* path, mode_t mode)
{
    return intercept(
        "chmod", -1, [=] { return __real_chmod(path, mode); }, path, mode);
}

int __real_setsockopt(int fd, int level, int option, const void* value, socklen_t length);
int __wrap_setsockopt(int fd, int level, int option, const void* value, socklen_t length)
{
    auto call = [=] { return __real_setsockopt(fd, level, option, value, length); };
    return intercept("setsockopt", -1, call, level, option, length);
}

ssize_t __real_send(int fd, const void* data, size_t size, int flags);
ssize_t __wrap_send(int fd, const void* data, size_t size, int flags)
{
    return intercept(
        "send", ssize_t{-1}, [=] { return __real_send(fd, data, size, flags); }, size, flags);
}

ssize_t __real_recv(int fd, void* data, size_t size, int flags);
ssize_t __wrap_recv(int fd, void* data, size_t size, int flags)
{
    return intercept(
        "recv", ssize_t{-1}, [=] { return __real_recv(fd, data, size, flags); }, size, flags);
}

int __real_getifaddrs(ifaddrs** list);
int __wrap_getifaddrs(ifaddrs** list)
{
    // What a plan answers is the address of the list.
    ifaddrs* found = intercept("getifaddrs", unread, [] {
        ifaddrs* own = nullptr;
        return __real_getifaddrs(&own) == 0 ? own : unread;
    });
    if (found == unread)
        return -1;
    *list = found;
    return 0;
}

void __real_freeifaddrs(ifaddrs* list);
void __wrap_freeifaddrs(ifaddrs* list)
{
    intercept("freeifaddrs", 0, [=] { return __real_freeifaddrs(list), 0; });
}

const char* __real_inet_ntop(int family, const void* address, char* text, socklen_t size);
const char* __wrap_inet_ntop(int family, const void* address, char* text, socklen_t size)
{
    auto call = [=] { return __real_inet_ntop(family, address, text, size); };
    return intercept("inet_ntop", static_cast<const char*>(nullptr), call, family, size);
}

int __real_select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* limit);
int __wrap_select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* limit)
{
    auto call = [=] { return __real_select(count, read, write, except, limit); };
    return intercept("select", -1, call, limit->tv_sec, limit->tv_usec);
}

ssize_t __real_read(int fd, void* data, size_t size);
ssize_t __wrap_read(int fd, void* data, size_t size)
{
    return intercept(
        "read", ssize_t{-1}, [=] { return __real_read(fd, data, size); }, size);
}

ssize_t __real_write(int fd, const void* data, size_t size);
ssize_t __wrap_write(int fd, const void* data, size_t size)
{
    return intercept(
        "write", ssize_t{-1}, [=] { return __real_write(fd, data, size); }, size);
}

int __real_open(const char* path, int flags, mode_t mode);
int __wrap_open(const char* path, int flags, mode_t mode)
{
    return intercept(
        "open", -1, [=] { return __real_open(path, flags, mode); }, path, flags, mode);
}

FILE* __real_fopen(const char* path, const char* mode);
FILE* __wrap_fopen(const char* path, const char* mode)
{
    return intercept(
        "fopen", no_stream, [=] { return __real_fopen(path, mode); }, path, mode);
}

FILE* __real_fdopen(int fd, const char* mode);
FILE* __wrap_fdopen(int fd, const char* mode)
{
    return intercept(
        "fdopen", no_stream, [=] { return __real_fdopen(fd, mode); }, mode);
}

int __real_fclose(FILE* stream);
int __wrap_fclose(FILE* stream)
{
    return intercept_release("fclose", EOF, [=] { return __real_fclose(stream); });
}

int __real_pclose(FILE* stream);
int __wrap_pclose(FILE* stream)
{
    return intercept_release("pclose", -1, [=] { return __real_pclose(stream); });
}

int __real_close(int fd);
int __wrap_close(int fd)
{
    return intercept_release("close", -1, [=] { return __real_close(fd); });
}

char* __real_fgets(char* line, int size, FILE* stream);
char* __wrap_fgets(char* line, int size, FILE* stream)
{
    char* const nothing = nullptr;
    return intercept(
        "fgets", nothing, [=] { return __real_fgets(line, size, stream); }, size);
}

int __real_fputs(const char* text, FILE* stream);
int __wrap_fputs(const char* text, FILE* stream)
{
    return intercept(
        "fputs", EOF, [=] { return __real_fputs(text, stream); }, text);
}

// What prints and scans has another name where the compiler guards it or reads by a newer standard.
#define PRINTED_OR_SCANNED(name, values_of, ...)                                                                       \
    va_list values;                                                                                                    \
    va_start(values, format);                                                                                          \
    const int result = intercept(                                                                                      \
        name, -1, [&] { return values_of(__VA_ARGS__, format, values); }, format);                                     \
    va_end(values);                                                                                                    \
    return result

int __wrap_printf(const char* format, ...)
{
    PRINTED_OR_SCANNED("printf", vfprintf, stdout);
}

int __wrap___printf_chk(int, const char* format, ...)
{
    PRINTED_OR_SCANNED("printf", vfprintf, stdout);
}

int __wrap_fprintf(FILE* stream, const char* format, ...)
{
    PRINTED_OR_SCANNED("fprintf", vfprintf, stream);
}

int __wrap___fprintf_chk(FILE* stream, int, const char* format, ...)
{
    PRINTED_OR_SCANNED("fprintf", vfprintf, stream);
}

int __wrap_fscanf(FILE* stream, const char* format, ...)
{
    PRINTED_OR_SCANNED("fscanf", vfscanf, stream);
}

int __wrap___isoc99_fscanf(FILE* stream, const char* format, ...)
{
    PRINTED_OR_SCANNED("fscanf", vfscanf, stream);
}

int __real_flock(int fd, int operation);
int __wrap_flock(int fd, int operation)
{
    return intercept(
        "flock", -1, [=] { return __real_flock(fd, operation); }, operation);
}

int __real_unlink(const char* path);
int __wrap_unlink(const char* path)
{
    return intercept(
        "unlink", -1, [=] { return __real_unlink(path); }, path);
}

int __real_kill(pid_t process, int signal);
int __wrap_kill(pid_t process, int signal)
{
    return intercept(
        "kill", -1, [=] { return __real_kill(process, signal); }, process, signal);
}

int __real_stat(const char* path, struct stat* file);
int __wrap_stat(const char* path, struct stat* file)
{
    return intercept(
        "stat", -1, [=] { return __real_stat(path, file); }, path);
}

int __real_access(const char* path, int mode);
int __wrap_access(const char* path, int mode)
{
    return intercept(
        "access", -1, [=] { return __real_access(path, mode); }, path, mode);
}

int __real_system(const char* command);
int __wrap_system(const char* command)
{
    return intercept(
        "system", -1, [=] { return __real_system(command); }, command);
}

int __real_usleep(useconds_t time);
int __wrap_usleep(useconds_t time)
{
    return intercept(
        "usleep", -1, [=] { return __real_usleep(time); }, time);
}

time_t __real_time(time_t* now);
time_t __wrap_time(time_t* now)
{
    return intercept("time", time_t{-1}, [=] { return __real_time(now); });
}

int __real_semget(key_t key, int count, int flags);
int __wrap_semget(key_t key, int count, int flags)
{
    return intercept(
        "semget", -1, [=] { return __real_semget(key, count, flags); }, count, flags);
}

int __real_semctl(int set, int number, int command, long argument);
int __wrap_semctl(int set, int number, int command, long argument)
{
    auto call = [=] { return __real_semctl(set, number, command, argument); };
    return intercept("semctl", -1, call, number, command, static_cast<int>(argument));
}

int __real_semop(int set, sembuf* operations, size_t count);
int __wrap_semop(int set, sembuf* operations, size_t count)
{
    auto call = [=] { return __real_semop(set, operations, count); };
    return intercept("semop", -1, call, operations->sem_num, operations->sem_op, operations->sem_flg, count);
}

int __real_shmget(key_t key, size_t size, int flags);
int __wrap_shmget(key_t key, size_t size, int flags)
{
    return intercept(
        "shmget", -1, [=] { return __real_shmget(key, size, flags); }, size, flags);
}

void* __real_shmat(int segment, const void* address, int flags);
void* __wrap_shmat(int segment, const void* address, int flags)
{
    return intercept(
        "shmat", not_attached, [=] { return take_place(__real_shmat(segment, address, flags)); }, flags);
}

int __real_shmdt(const void* address);
int __wrap_shmdt(const void* address)
{
    return intercept("shmdt", -1, [=] { return leave_place(), __real_shmdt(address); });
}

int __real_pthread_sigmask(int how, const sigset_t* set, sigset_t* old);
int __wrap_pthread_sigmask(int how, const sigset_t* set, sigset_t* old)
{
    return intercept(
        "pthread_sigmask", EINVAL, [=] { return __real_pthread_sigmask(how, set, old); }, how);
}

int __real_sigpending(sigset_t* set);
int __wrap_sigpending(sigset_t* set)
{
    return intercept("sigpending", -1, [=] { return __real_sigpending(set); });
}

int __real_sigtimedwait(const sigset_t* set, siginfo_t* signal, const timespec* limit);
int __wrap_sigtimedwait(const sigset_t* set, siginfo_t* signal, const timespec* limit)
{
    return intercept("sigtimedwait", -1, [=] { return __real_sigtimedwait(set, signal, limit); });
}
}
