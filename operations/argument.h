#pragma once

#include "kqutm/daemon.h"
#include "operations/decode.h"
#include "operations/number.h"
#include "operations/text.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

// How the words of a command become what a C function takes, one word for each parameter.
//
// An argument has
//   - word(), what its word looks like, for people;
//   - wrong(words, at), what is wrong with the word at that place, as in "'x' is no number"; nothing when it is good;
//   - a constructor of the words and the place, once none is wrong;
//   - value(), what is handed over;
//   - told(), what the function has written there; nothing of what it only reads.
namespace operations {

using words = std::span<const std::string>;

inline constexpr char null_word[] = "null";
inline constexpr char out_word[] = "out";
inline constexpr char literal_text[] = "text:"; // before a text, lets it be any, such as "null"

template <class T> class argument;

template <class T> class read_only {
public:
    std::optional<json> told() const { return {}; }
};

template <std::integral T> class argument<T> : public read_only<T> {
public:
    using limits = std::numeric_limits<T>;

    static std::string word()
    {
        return "a whole number from " + std::to_string(limits::min()) + " to " + std::to_string(limits::max());
    }

    static std::string wrong(words given, size_t at)
    {
        const std::optional<int64_t> number = parse_whole(given[at]);
        return number && std::in_range<T>(*number) ? "" : "is not " + word();
    }

    argument(words given, size_t at) : value_(static_cast<T>(parse_whole(given[at]).value())) {}
    T value() const { return value_; }

private:
    T value_;
};

// A text.
template <> class argument<const char*> : public read_only<const char*> {
public:
    static std::string word() { return "a text, or null"; }
    static std::string wrong(words, size_t) { return ""; }

    argument(words given, size_t at) : text_(given[at])
    {
        constexpr std::string_view literally = literal_text;
        if (text_ == null_word)
            null_ = true;
        else if (text_.starts_with(literally))
            text_.erase(0, literally.size());
    }

    const char* value() const { return null_ ? nullptr : text_.c_str(); }

private:
    std::string text_;
    bool null_ = false;
};

// A path that the function hands to a shell.
class shell_path : public argument<const char*> {
public:
    static std::string word() { return "a path of letters, digits and /._-+,:@%=, or null"; }
    static std::string wrong(words given, size_t at)
    {
        const bool safe = given[at].find_first_not_of(harmless_to_shells) == std::string::npos;
        return safe ? "" : "has characters that a shell may interpret; letters, digits and /._-+,:@%= are safe";
    }

    using argument::argument;
};

// Bytes as hexadecimal digits: least to most of them, in whole pieces.
template <size_t least, size_t most = least, size_t piece = 1> class bytes : public read_only<const void*> {
public:
    static std::string word()
    {
        const std::string range = least == most ? "" : std::to_string(least) + " to ";
        const std::string pieces = piece == 1 ? "" : " in pieces of " + std::to_string(piece);
        return range + std::to_string(most) + " bytes" + pieces + ", each of two hexadecimal digits, or null";
    }

    static std::string wrong(words given, size_t at)
    {
        const std::optional<std::vector<uint8_t>> parsed = parse_hex(given[at]);
        const bool fits = parsed && parsed->size() >= least && parsed->size() <= most && parsed->size() % piece == 0;
        return given[at] == null_word || fits ? "" : "is not " + word();
    }

    bytes(words given, size_t at) : bytes_(parse_hex(given[at])) {}
    const uint8_t* value() const { return bytes_ ? bytes_->data() : nullptr; }

private:
    std::optional<std::vector<uint8_t>> bytes_; // none for null, which has no digits
};

// A MAC address, with or without anything between its bytes.
template <> class argument<const uint8_t*> : public read_only<const uint8_t*> {
public:
    static std::string word() { return "a MAC address such as 02:42:ac:11:00:05 or 0242ac110005, or null"; }
    static std::string wrong(words given, size_t at)
    {
        return given[at] == null_word || parsed(given[at]) ? "" : "is not " + word();
    }

    argument(words given, size_t at) : mac_(parsed(given[at])) {}
    const uint8_t* value() const { return mac_ ? mac_->data() : nullptr; }

private:
    using mac = std::array<uint8_t, 6>;

    static std::optional<mac> parsed(const std::string& text)
    {
        const std::optional<std::vector<uint8_t>> digits = parse_hex(text);
        mac joined = {};
        if (!digits || digits->size() != joined.size())
            return parse_mac(text);
        std::ranges::copy(*digits, joined.begin());
        return joined;
    }

    std::optional<mac> mac_; // none for null, which is no address
};

// Memory that the function fills.
template <class T> class written {
public:
    static std::string word() { return "out, or null"; }
    static std::string wrong(words given, size_t at)
    {
        return given[at] == out_word || given[at] == null_word ? "" : "is neither out nor null";
    }

    written(words given, size_t at) : null_(given[at] == null_word) {}

protected:
    T* place() { return null_ ? nullptr : &held_; }
    const T* place() const { return null_ ? nullptr : &held_; }

private:
    bool null_;
    T held_ = {};
};

template <> class argument<uint32_t*> : public written<uint32_t> {
public:
    using written::written;
    uint32_t* value() { return place(); }
    std::optional<json> told() const { return place() == nullptr ? json() : json(*place()); }
};

template <class Status>
requires std::same_as<Status, utm_av_status> || std::same_as<Status, utm_devid_status>
class argument<Status*> : public written<Status> {
public:
    using written<Status>::written;
    Status* value() { return this->place(); }
    std::optional<json> told() const
    {
        const Status* status = this->place();
        return status == nullptr ? json() : json({{"words", status->words}});
    }
};

// A buffer, of the size that the next word tells but of no less than 256 bytes.
template <> class argument<char*> {
public:
    static std::string word() { return "out, which is a buffer of SIZE bytes, but at least 256; or null"; }
    static std::string wrong(words given, size_t at) { return written<char>::wrong(given, at); }

    argument(words given, size_t at)
    {
        const int64_t size = std::max<int64_t>(parse_whole(given[at + 1]).value(), UTM_UUID_SIZE);
        if (given[at] != null_word)
            buffer_.reset(static_cast<char*>(calloc(static_cast<size_t>(size) + 1, 1)));
    }

    char* value() { return buffer_.get(); }
    std::optional<json> told() const { return buffer_ ? json(std::string(buffer_.get())) : json(); }

private:
    std::unique_ptr<char, decltype(&free)> buffer_{nullptr, free};
};

} // namespace operations
