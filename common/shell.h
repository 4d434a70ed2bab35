#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>

// Formats a command into a buffer of Size bytes, cutting it there, and runs it; its exit status is not looked at.
// Values reach the shell unquoted.
template <size_t Size, class... Values> void run_shell(const char* format, Values... values)
{
    char command[Size];
    snprintf(command, sizeof command, format, values...);
    (void)!system(command);
}
