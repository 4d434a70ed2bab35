/* Results: a value, or the cause why there is none. */
#ifndef KQUTM_HPP_RESULT_HPP
#define KQUTM_HPP_RESULT_HPP

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <system_error>
#include <type_traits>
#include <utility>
#include <variant>

namespace kqutm {

/* Why an operation failed: its return value, which an engine daemon may define, and errno (kqutm/common.h). */
struct cause {
    int returned = -1;
    int error = 0;

    /* As the standard library has it, to be compared with std::errc and printed. */
    std::error_code code() const { return {error, std::generic_category()}; }

    /* The daemon refused; all else failed on this side or on the way. */
    bool refused() const { return error == EREMOTEIO; }
};

/* Stands for the value of an operation that has none. */
using done = std::monostate;

/*
 * A value or a cause. Asked for what it does not hold, it ends the program. One that is about to go hands its value out
 * instead of a reference to it, so that for (const auto& entry : *kqutm::ips::rules()) reads what still lives.
 */
template <class Value> class [[nodiscard]] result {
public:
    result(Value value) : held_(std::in_place_index<0>, std::move(value)) {}
    result(cause why) : held_(std::in_place_index<1>, why) {}

    explicit operator bool() const { return held_.index() == 0; }

    Value& operator*() & { return checked<0>(held_); }
    const Value& operator*() const& { return checked<0>(held_); }
    Value operator*() && { return std::move(checked<0>(held_)); }
    void operator*() const&& = delete;
    Value* operator->() & { return &checked<0>(held_); }
    const Value* operator->() const& { return &checked<0>(held_); }
    void operator->() const&& = delete; /* (*call()).member lives as long as a reference to it */

    Value value_or(Value other) const& { return *this ? **this : std::move(other); }
    Value value_or(Value other) && { return *this ? *std::move(*this) : std::move(other); }

    cause error() const { return checked<1>(held_); }

    /* The result of what make makes of the value; a cause stays as it is. */
    template <class Make> auto transform(Make make) const -> result<std::invoke_result_t<Make, const Value&>>
    {
        if (!*this)
            return error();
        return std::invoke(make, checked<0>(held_));
    }

private:
    template <std::size_t index, class Held> static auto& checked(Held& held)
    {
        auto* there = std::get_if<index>(&held);
        if (there == nullptr)
            std::abort();
        return *there;
    }

    std::variant<Value, cause> held_;
};

namespace detail {

/* The cause of what has just failed. */
inline cause failed(int returned = -1)
{
    return {.returned = returned, .error = errno};
}

/* What an operation returned whose only success is 0. */
inline result<done> status(int returned)
{
    if (returned == 0)
        return done();
    return failed(returned);
}

} // namespace detail

} // namespace kqutm

#endif
