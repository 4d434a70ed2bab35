#pragma once

// The program's own versions of libc's functions, which the shared library calls too.

namespace counts {

// What is told to whoever traces this process. It stands among the system calls of the process as a call that fails.
enum class note {
    begin,
    end,
    folded, // a libc function begins whose own system calls do not count; with its name
    unfolded
};

// The operation is what lies between the two. The second tells how many blocks have been taken from the heap since the
// first, and given back.
void begin();
void end();

// What a note looks like: prctl(noted, note, and two values).
constexpr int noted = 0x6b71;

} // namespace counts
