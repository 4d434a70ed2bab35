#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// The prototypes of functions as texts, such as "int32_t utm_ips_debug(uint32_t on)", and whether they are true.
namespace operations {

constexpr size_t most_parameters = 4;

struct parameter {
    std::string_view type;
    std::string_view name;
};

struct signature {
    parameter function; // with the type that it returns
    size_t count = 0;
    std::array<parameter, most_parameters> parameters = {};
};

inline constexpr std::string_view variable_arguments = "...";

// "const char* path": all before the last space is the type.
constexpr parameter split_parameter(std::string_view text)
{
    const size_t space = text.rfind(' ');
    return space == std::string_view::npos ? parameter{text, ""}
                                           : parameter{text.substr(0, space), text.substr(space + 1)};
}

constexpr signature parse_prototype(std::string_view prototype)
{
    const size_t open = prototype.find('(');
    std::string_view rest = prototype.substr(open + 1, prototype.size() - open - 2);
    signature parsed = {.function = split_parameter(prototype.substr(0, open))};
    if (rest == "void")
        return parsed;
    for (bool last = false; !last && rest != variable_arguments;) {
        const size_t comma = rest.find(", ");
        last = comma == std::string_view::npos;
        parsed.parameters.at(parsed.count++) = split_parameter(rest.substr(0, comma));
        rest = last ? "" : rest.substr(comma + 2);
    }
    return parsed;
}

// How C spells a type.
template <class T> constexpr std::string_view spelling = {};
template <> inline constexpr std::string_view spelling<void> = "void";
template <> inline constexpr std::string_view spelling<int32_t> = "int32_t";
template <> inline constexpr std::string_view spelling<uint16_t> = "uint16_t";
template <> inline constexpr std::string_view spelling<uint32_t> = "uint32_t";
template <> inline constexpr std::string_view spelling<uint64_t> = "uint64_t";
template <> inline constexpr std::string_view spelling<char*> = "char*";
template <> inline constexpr std::string_view spelling<const char*> = "const char*";
template <> inline constexpr std::string_view spelling<const uint8_t*> = "const uint8_t*";
template <> inline constexpr std::string_view spelling<uint32_t*> = "uint32_t*";
template <> inline constexpr std::string_view spelling<void*> = "void*";
template <> inline constexpr std::string_view spelling<const void*> = "const void*";

template <class T> constexpr bool spells(std::string_view text)
{
    return text == spelling<T> || (text == "int" && spelling<T> == "int32_t");
}

template <class Result, class... Arguments> constexpr bool spells_all(const signature& parsed)
{
    size_t at = 0;
    return spells<Result>(parsed.function.type) && parsed.count == sizeof...(Arguments) &&
           (spells<Arguments>(parsed.parameters.at(at++).type) && ... && true);
}

template <class Result, class... Arguments> constexpr bool is_true(std::string_view prototype, Result (*)(Arguments...))
{
    return spells_all<Result, Arguments...>(parse_prototype(prototype));
}

template <class Result, class... Arguments>
constexpr bool is_true(std::string_view prototype, Result (*)(Arguments..., ...))
{
    return prototype.ends_with("...)") && spells_all<Result, Arguments...>(parse_prototype(prototype));
}

} // namespace operations
