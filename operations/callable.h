#pragma once

#include "operations/function.h"
#include "operations/made_argument.h"
#include "operations/returned.h"
#include "operations/structs.h"

#include <cerrno>
#include <tuple>
#include <type_traits>
#include <utility>

// Makes functions callable by words, from their own types.
namespace operations {

// Ways to tell of what a function returns.
struct told_released {
    template <class Result> json operator()(Result returned, words) const { return told_and_released(returned); }
};
struct told_as_node {
    template <class Node> json operator()(Node* node, words) const { return node_told_and_released(node); }
};
struct told_closed {
    json operator()(int descriptor, words) const { return descriptor_told_and_closed(descriptor); }
};

template <auto function, class Tell, class... Arguments> class caller {
public:
    static std::string word(size_t at)
    {
        std::string text;
        size_t index = 0;
        ((index++ == at ? void(text = Arguments::word()) : void()), ...);
        return text;
    }

    static std::string wrong([[maybe_unused]] words given, size_t at)
    {
        std::string text;
        size_t index = 0;
        ((index++ == at ? void(text = Arguments::wrong(given, at)) : void()), ...);
        return text;
    }

    static call_result call(words given) { return call(given, std::index_sequence_for<Arguments...>()); }

private:
    template <size_t... at> static call_result call([[maybe_unused]] words given, std::index_sequence<at...>)
    {
        std::tuple<Arguments...> arguments{Arguments(given, at)...};
        call_result result;
        const auto invoke = [&] { return function(std::get<at>(arguments).value()...); };
        errno = 0;
        if constexpr (std::is_void_v<decltype(invoke())>) {
            invoke();
            result.error = errno;
        } else {
            const auto returned = invoke();
            result.error = errno;
            result.returned = Tell()(returned, given);
        }
        (result.outputs.push_back(std::get<at>(arguments).told()), ...);
        return result;
    }
};

template <class Caller> constexpr callable callable_by(std::string_view prototype)
{
    return {prototype, Caller::word, Caller::wrong, Caller::call};
}

template <auto function, class Tell, class Result, class... Arguments>
constexpr callable callable_by_type(std::string_view prototype, Result (*)(Arguments...))
{
    return callable_by<caller<function, Tell, argument<Arguments>...>>(prototype);
}

// The function of that prototype. Its arguments come from its type, but for those of which another kind is named.
template <auto function, class Tell = told_released, class... Kinds>
constexpr callable bound(std::string_view prototype)
{
    if (!is_true(prototype, function))
        throw "the prototype is not that of the function";
    if constexpr (sizeof...(Kinds) > 0)
        return callable_by<caller<function, Tell, Kinds...>>(prototype);
    else
        return callable_by_type<function, Tell>(prototype, function);
}

// A function that is called through another one, because it takes a variable number of values.
template <auto function, class Caller> constexpr callable bound_through(std::string_view prototype)
{
    if (!is_true(prototype, function))
        throw "the prototype is not that of the function";
    return callable_by<Caller>(prototype);
}

} // namespace operations
