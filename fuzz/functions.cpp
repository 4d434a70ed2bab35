// What the library calls, answered by the machine: the linker sends each call of NAME to __wrap_NAME. One list names
// them all, in this folder's CMakeLists.txt.

#include "fuzz/current.h"
#include "fuzz/machine.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <ifaddrs.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

using fuzz::current;

namespace {

constexpr int file_fd = 1001; // of the one file that is open
constexpr int known = 1;      // every System V object

bool is_log(const char* path)
{
    return strncmp(path, "/tmp/utm_log/", 13) == 0;
}

FILE* stream_of(const fuzz::bytes& content)
{
    FILE* stream = fmemopen(nullptr, content.size() + 1, "w+");
    fwrite(content.data(), 1, content.size(), stream);
    rewind(stream);
    return stream;
}

// A stream that writes where the file is.
ssize_t write_through(void*, const char* data, size_t size)
{
    current->write_file(data, size);
    return static_cast<ssize_t>(size);
}

FILE* stream_to_file()
{
    return fopencookie(nullptr, "w", {.read = nullptr, .write = write_through, .seek = nullptr, .close = nullptr});
}

} // namespace

extern "C" {

// A call that one expression answers.
#define ANSWERED(result, name, answer, parameters, arguments)                                                          \
    result __real_##name parameters;                                                                                   \
    result __wrap_##name parameters                                                                                    \
    {                                                                                                                  \
        return current == nullptr ? __real_##name arguments : (answer);                                                \
    }

ANSWERED(int, socket, current->daemon().open(), (int domain, int type, int protocol), (domain, type, protocol))
ANSWERED(int, connect, current->daemon().connect(fd), (int fd, const sockaddr* address, socklen_t length),
         (fd, address, length))
ANSWERED(int, setsockopt, current->daemon().set_option(fd),
         (int fd, int level, int option, const void* value, socklen_t length), (fd, level, option, value, length))
ANSWERED(int, select, current->daemon().wait(count, read),
         (int count, fd_set* read, fd_set* write, fd_set* except, timeval* limit), (count, read, write, except, limit))
ANSWERED(ssize_t, recv, current->daemon().receive(fd, data, size), (int fd, void* data, size_t size, int flags),
         (fd, data, size, flags))
ANSWERED(ssize_t, send, current->daemon().send(fd, data, size, flags),
         (int fd, const void* data, size_t size, int flags), (fd, data, size, flags))
ANSWERED(ssize_t, read, current->daemon().receive(fd, data, size), (int fd, void* data, size_t size), (fd, data, size))
ANSWERED(int, access, is_log(path) || current->find_file(path) != nullptr ? 0 : -1, (const char* path, int mode),
         (path, mode))
ANSWERED(int, system, (current->note_command(command), 0), (const char* command), (command))
ANSWERED(int, unlink, (current->remove_file(path), 0), (const char* path), (path))
ANSWERED(int, flock, 0, (int fd, int operation), (fd, operation))
ANSWERED(int, usleep, 0, (useconds_t time), (time))
ANSWERED(key_t, ftok, known, (const char* path, int project), (path, project))
ANSWERED(int, semget, known, (key_t key, int count, int flags), (key, count, flags))
ANSWERED(int, semop, current->change_lock(operations->sem_op), (int set, sembuf* operations, size_t count),
         (set, operations, count))
ANSWERED(int, shmget, known, (key_t key, size_t size, int flags), (key, size, flags))
ANSWERED(void*, shmat, current->attach(), (int segment, const void* address, int flags), (segment, address, flags))
ANSWERED(int, shmdt, (current->detach(address), 0), (const void* address), (address))
ANSWERED(int, kill, (current->note_signal(process), 0), (pid_t process, int signal), (process, signal))

int __real_close(int fd);
int __wrap_close(int fd)
{
    if (current == nullptr)
        return __real_close(fd);
    if (fd == file_fd)
        current->note_closed();
    else
        current->daemon().close(fd);
    return 0;
}

ssize_t __real_write(int fd, const void* data, size_t size);
ssize_t __wrap_write(int fd, const void* data, size_t size)
{
    if (current == nullptr)
        return __real_write(fd, data, size);
    if (fd != file_fd)
        return current->daemon().write(fd, data, size);
    current->write_file(data, size);
    return static_cast<ssize_t>(size);
}

int __real_open(const char* path, int flags, mode_t mode);
int __wrap_open(const char* path, int flags, mode_t mode)
{
    if (current == nullptr)
        return __real_open(path, flags, mode);
    current->open_file(path, (flags & O_CREAT) != 0);
    return file_fd;
}

int __real_stat(const char* path, struct stat* file);
int __wrap_stat(const char* path, struct stat* file)
{
    if (current == nullptr)
        return __real_stat(path, file);
    file->st_size = current->log_size();
    return 0;
}

FILE* __real_fopen(const char* path, const char* mode);
FILE* __wrap_fopen(const char* path, const char* mode)
{
    if (current == nullptr)
        return __real_fopen(path, mode);
    const fuzz::outside machine;
    const fuzz::bytes* content = machine->find_file(path);
    if (content == nullptr)
        return nullptr;
    machine->note_opened();
    return stream_of(*content);
}

// A descriptor that becomes a stream is closed with it.

FILE* __real_fdopen(int fd, const char* mode);
FILE* __wrap_fdopen(int fd, const char* mode)
{
    return current == nullptr ? __real_fdopen(fd, mode) : stream_to_file();
}

FILE* __real_popen(const char* command, const char* mode);
FILE* __wrap_popen(const char* command, const char* mode)
{
    if (current == nullptr)
        return __real_popen(command, mode);
    const fuzz::outside machine;
    machine->note_command(command);
    machine->note_opened();
    return stream_of(machine->output());
}

int __real_fclose(FILE* stream);
int __wrap_fclose(FILE* stream)
{
    if (current != nullptr)
        current->note_closed();
    return __real_fclose(stream);
}

int __real_pclose(FILE* stream);
int __wrap_pclose(FILE* stream)
{
    return current == nullptr ? __real_pclose(stream) : fclose(stream);
}

int __real_getifaddrs(ifaddrs** list);
int __wrap_getifaddrs(ifaddrs** list)
{
    if (current == nullptr)
        return __real_getifaddrs(list);
    if (current->interfaces().empty())
        return -1;
    current->note_opened();
    *list = current->interfaces().data();
    return 0;
}

void __real_freeifaddrs(ifaddrs* list);
void __wrap_freeifaddrs(ifaddrs* list)
{
    if (current == nullptr)
        __real_freeifaddrs(list);
    else
        current->note_closed();
}

void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size)
{
    void* block = __real_malloc(size);
    if (current != nullptr)
        current->note_block(block);
    return block;
}

void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size)
{
    void* block = __real_calloc(count, size);
    if (current != nullptr)
        current->note_block(block);
    return block;
}

void __real_free(void* block);
void __wrap_free(void* block)
{
    if (current != nullptr && block != nullptr)
        current->forget_block(block);
    __real_free(block);
}
}
