#pragma once

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

// The libc functions that the library stands on, wrapped by the linker: tests see each call and make it fail.
namespace wrap {

// Instead of the number of a call: all of them, or this one and all that follow.
constexpr int every = 0;
constexpr int from(int nth)
{
    return -nth;
}

// While it lives, what the calls of its thread do; those of other threads stay as they are. Calls are numbered from 1,
// for each function apart. A thread has one plan at a time.
class plan {
public:
    plan();
    plan(const plan&) = delete;
    plan& operator=(const plan&) = delete;
    ~plan();

    // The nth call does not happen: it returns the function's failure value with this errno, or this result.
    void fail(const std::string& function, int nth, int error);
    void answer(const std::string& function, int nth, long result);

    // Runs action before the nth call happens.
    void before(const std::string& function, int nth, std::function<void()> action);

    // What was called, with the arguments that matter, such as "usleep(100000)".
    const std::vector<std::string>& calls() const { return calls_; }
    std::vector<std::string> calls(const std::string& function) const;
    int count(const std::string& function) const;
    int failures(const std::string& function) const;

    struct outcome {
        bool fails;
        int error;
        long result;
    };

    // For the wrappers: notes a call. Null: it happens.
    const outcome* note(const std::string& function, const std::string& arguments);

private:
    struct rule {
        std::string function;
        int nth;
        std::function<void()> action;
        outcome instead;
    };

    std::vector<rule> rules_;
    std::vector<std::string> calls_;
    std::unordered_map<std::string, int> counts_;
    std::unordered_map<std::string, int> failures_;
};

} // namespace wrap
