/* Identifiers and addresses that cannot be mixed up, and are valid once they exist. */
#ifndef KQUTM_HPP_TYPES_HPP
#define KQUTM_HPP_TYPES_HPP

#include "../registry.h"
#include "result.hpp"

#include <array>
#include <compare>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kqutm {

/*
 * An identifier of one kind: never 0, which stands for "none", and never 2^31 or more, which the operations refuse or
 * read as negative.
 */
template <utm_id_kind kind_of_id> class identifier {
public:
    static constexpr utm_id_kind kind = kind_of_id;

    /* Nothing when the number is no identifier. One with a fraction is no argument, rather than cut to a whole one. */
    template <std::integral Number> static constexpr std::optional<identifier> of(Number number)
    {
        if (number < 1 || !std::in_range<int32_t>(number))
            return std::nullopt;
        return identifier(static_cast<int32_t>(number));
    }

    constexpr int32_t number() const { return number_; }
    auto operator<=>(const identifier&) const = default;

private:
    explicit constexpr identifier(int32_t number) : number_(number) {}

    int32_t number_;
};

using profile_id = identifier<UTM_ID_USER_PROFILE>;
using cf_policy_id = identifier<UTM_ID_CF_POLICY>;
using app_policy_id = identifier<UTM_ID_APP_POLICY>;

/* The MAC address of a device: any six bytes, also all zeros or all ones, which the operations pass on like others. */
class mac_address {
public:
    using bytes_type = std::array<uint8_t, 6>;

    explicit constexpr mac_address(const bytes_type& bytes) : bytes_(bytes) {}

    /* Six pairs of hexadecimal digits with colons or hyphens between them; nothing when text is anything else. */
    static constexpr std::optional<mac_address> parse(std::string_view text)
    {
        bytes_type bytes = {};
        if (text.size() != 17 || (text[2] != ':' && text[2] != '-'))
            return std::nullopt;
        for (size_t at = 0; at < text.size(); at++) {
            if (at % 3 == 2) {
                if (text[at] != text[2])
                    return std::nullopt;
                continue;
            }
            const int digit = digit_of(text[at]);
            if (digit < 0)
                return std::nullopt;
            bytes[at / 3] = static_cast<uint8_t>(bytes[at / 3] * 16 + digit);
        }
        return mac_address(bytes);
    }

    /* In lower case, with colons. */
    std::string text() const
    {
        constexpr char digits[] = "0123456789abcdef";
        std::string text;
        for (const uint8_t byte : bytes_) {
            if (!text.empty())
                text += ':';
            text += {digits[byte / 16], digits[byte % 16]};
        }
        return text;
    }

    constexpr const bytes_type& bytes() const { return bytes_; }
    auto operator<=>(const mac_address&) const = default;

private:
    static constexpr int digit_of(char c)
    {
        if (c >= '0' && c <= '9')
            return c - '0';
        const char lower = static_cast<char>(c | 0x20);
        return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
    }

    bytes_type bytes_;
};

} // namespace kqutm

#endif
