#include "tests/wrap/wrap.h"

#include "tests/wrap/intercept.h"

#include <cerrno>
#include <utility>

namespace wrap {

namespace {

thread_local plan* current = nullptr;

// While a plan is at work, calls of its own and of its actions are not noted.
class suspended {
public:
    suspended() : plan_(std::exchange(current, nullptr)), cause_(errno) {}
    suspended(const suspended&) = delete;
    suspended& operator=(const suspended&) = delete;
    ~suspended()
    {
        current = plan_;
        errno = cause_;
    }

private:
    plan* plan_;
    int cause_;
};

bool is_meant(int number, int nth)
{
    return nth > 0 ? number == nth : number >= -nth;
}

int number_of(const std::unordered_map<std::string, int>& numbers, const std::string& function)
{
    const auto found = numbers.find(function);
    return found == numbers.end() ? 0 : found->second;
}

} // namespace

plan* current_plan()
{
    return current;
}

plan::plan()
{
    current = this;
}

plan::~plan()
{
    current = nullptr;
}

void plan::fail(const std::string& function, int nth, int error)
{
    rules_.push_back({function, nth, nullptr, {.fails = true, .error = error, .result = 0}});
}

void plan::answer(const std::string& function, int nth, long result)
{
    rules_.push_back({function, nth, nullptr, {.fails = false, .error = 0, .result = result}});
}

void plan::before(const std::string& function, int nth, std::function<void()> action)
{
    rules_.push_back({function, nth, std::move(action), {}});
}

std::vector<std::string> plan::calls(const std::string& function) const
{
    std::vector<std::string> found;
    for (const std::string& call : calls_) {
        if (call.starts_with(function + "("))
            found.push_back(call);
    }
    return found;
}

int plan::count(const std::string& function) const
{
    return number_of(counts_, function);
}

int plan::failures(const std::string& function) const
{
    return number_of(failures_, function);
}

const plan::outcome* plan::note(const std::string& function, const std::string& arguments)
{
    suspended noting;
    calls_.push_back(function + "(" + arguments + ")");
    const int number = ++counts_[function];
    const outcome* instead = nullptr;
    for (const rule& next : rules_) {
        if (next.function != function || !is_meant(number, next.nth))
            continue;
        if (next.action)
            next.action();
        else
            instead = &next.instead;
    }
    if (instead != nullptr && instead->fails)
        failures_[function]++;
    return instead;
}

} // namespace wrap
