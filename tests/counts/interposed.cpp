#include "tests/counts/interposed.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace counts {

namespace {

std::atomic<unsigned long> taken;
std::atomic<unsigned long> given_back;
std::atomic<bool> folded;

void count(std::atomic<unsigned long>& blocks)
{
    if (!folded)
        ++blocks;
}

void tell(note what, unsigned long first = 0, unsigned long second = 0)
{
    syscall(SYS_prctl, noted, static_cast<unsigned long>(what), first, second, 0UL);
}

// Runs libc's own function of this name. What it does inside is not the library's.
template <class Result, class... Values> Result fold(const char* name, Values... values)
{
    using function = Result (*)(Values...);
    const auto real = reinterpret_cast<function>(dlsym(RTLD_NEXT, name));
    tell(note::folded, reinterpret_cast<unsigned long>(name));
    folded = true;
    Result result = real(values...);
    folded = false;
    tell(note::unfolded);
    return result;
}

} // namespace

void begin()
{
    taken = 0;
    given_back = 0;
    tell(note::begin);
}

void end()
{
    tell(note::end, taken, given_back);
}

} // namespace counts

extern "C" {

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);

void* malloc(size_t size)
{
    counts::count(counts::taken);
    return __libc_malloc(size);
}

void* calloc(size_t number, size_t size)
{
    counts::count(counts::taken);
    return __libc_calloc(number, size);
}

void* realloc(void* block, size_t size)
{
    counts::count(counts::taken);
    return __libc_realloc(block, size);
}

void free(void* block)
{
    if (block != nullptr)
        counts::count(counts::given_back);
    __libc_free(block);
}

int system(const char* command)
{
    return counts::fold<int>("system", command);
}

FILE* popen(const char* command, const char* type)
{
    return counts::fold<FILE*>("popen", command, type);
}

int pclose(FILE* stream)
{
    return counts::fold<int>("pclose", stream);
}

} // extern "C"
