#pragma once

#include <dlfcn.h>

// Calls libc's own function of this name, behind a definition of ours that has it, too.
template <class Result, class... Values> Result libc(const char* name, Values... values)
{
    using function = Result (*)(Values...);
    return reinterpret_cast<function>(dlsym(RTLD_NEXT, name))(values...);
}
