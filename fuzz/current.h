#pragma once

namespace fuzz {

class machine;

// The machine of the moment; null outside the library, where calls go to libc.
extern machine* current;

// While it lives, what is called is outside the library; the machine is at hand.
class outside {
public:
    outside() : machine_(current) { current = nullptr; }
    outside(const outside&) = delete;
    outside& operator=(const outside&) = delete;
    ~outside() { current = machine_; }

    machine* operator->() const { return machine_; }

private:
    machine* machine_;
};

} // namespace fuzz
