#pragma once

#include "tools/utmctl/rehearsed_daemons.h"
#include "tools/utmctl/rehearsed_files.h"
#include "tools/utmctl/rehearsed_memory.h"

// A command as it would go, with nothing sent and nothing changed: while a rehearsal lives, what the library asks of
// libc is served by it instead. The library calls libc through the dynamic linker, which finds the definitions of the
// program itself first (rehearsed_calls.cpp); so the library needs no hook, and a rehearsal takes the very same path.
//
// What is read is real. Daemons are taken to accept everything and to hold no entries. The steps are objects in order:
// their member "step" is send, registry, uuid, create, file, shell or signal.
class rehearsal {
public:
    rehearsal();
    rehearsal(const rehearsal&) = delete;
    rehearsal& operator=(const rehearsal&) = delete;
    ~rehearsal();

    static rehearsal* current(); // null outside of one

    json steps();
    int signal(pid_t process, int number);

    rehearsed_daemons daemons{[this](json step) { add(std::move(step)); }};
    rehearsed_files files{[this](json step) { add(std::move(step)); }};
    rehearsed_memory memory{[this](json step) { add(std::move(step)); }};

private:
    // Shared memory changes without a call: what changed is told before the next step.
    void add(json step);
    void add_changes();

    json steps_ = json::array();
};
