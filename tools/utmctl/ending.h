#pragma once

#include <csignal>

// Commands that go on until they are told to end.

// From now on SIGINT and SIGTERM end the process at once with status 0, unless it was started to ignore them.
void end_on_signals();

// While it lives, the end waits: for a line that is to be printed whole.
class unbroken {
public:
    unbroken();
    unbroken(const unbroken&) = delete;
    unbroken& operator=(const unbroken&) = delete;
    ~unbroken();

private:
    sigset_t before_;
};

void sleep_for(double seconds);
