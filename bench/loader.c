/*
 * Loads and unloads two libraries in turn, in a process that has libc alone, and prints what it took: a line for each
 * round with four times in nanoseconds, of the first, the second, the second, the first. The program of the benchmarks
 * itself is linked to the library.
 */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

static double now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (double)time.tv_sec * 1e9 + (double)time.tv_nsec;
}

static double load(const char* path)
{
    const double begin = now();
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    const double end = now();
    if (library == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        exit(EXIT_FAILURE);
    }
    dlclose(library);
    return end - begin;
}

int main(int count, char** arguments)
{
    if (count != 4)
        return EXIT_FAILURE;
    for (int round = atoi(arguments[3]); round > 0; --round) {
        const double first = load(arguments[1]);
        const double second = load(arguments[2]);
        const double third = load(arguments[2]);
        const double fourth = load(arguments[1]);
        printf("%.0f %.0f %.0f %.0f\n", first, second, third, fourth);
    }
    return EXIT_SUCCESS;
}
