#pragma once

#include "tests/counts/calls.h"
#include "tests/engines/engines.h"

#include <functional>
#include <ostream>
#include <string>
#include <sys/types.h>
#include <vector>

// Every exported operation, ready to be called, with what a call costs; and the gateway on which it is called.
namespace counts {

struct blocks {
    unsigned long taken = 0;
    unsigned long given_back = 0;
};

// What the daemons answer.
enum class daemons {
    accept, // once, or twice where the connection lasts
    stream, // three entries of a list, and its end
    refuse
};

// What the value is that an operation returned.
struct value_kind {
    std::string (*show)(long value);
    void (*release)(long value);
};

// What an operation left with its caller.
struct returned {
    long value = 0;
    const value_kind* kind;

    std::string shown() const { return kind->show(value); }
    void release() const { kind->release(value); }
};

struct operation {
    const char* name;
    std::function<returned()> call;
    calls budget;
    blocks heap = {};
    daemons answer = daemons::accept;
    std::function<void()> prepare = [] {};
};

inline std::ostream& operator<<(std::ostream& out, const operation& operation)
{
    return out << operation.name;
}

const std::vector<operation>& operations();

// What the operations leave for their caller beside their result, as text; and fills it with what none of them leaves.
std::string left();
void spoil_left();

// Content filtering is on, and its daemon is this process.
void run_filter();

// The name of an operation for a test of its own.
std::string name_of(const testing::TestParamInfo<operation>& operation);

// The daemons, in a process of their own while it lives: who forks has no threads.
class gateway {
public:
    explicit gateway(daemons what);
    gateway(const gateway&) = delete;
    gateway& operator=(const gateway&) = delete;
    ~gateway();

private:
    pid_t process_;
};

// Nothing happens for the first time: logs, semaphores and segments are there, and one identifier of each kind.
void use_everything_once();

} // namespace counts
