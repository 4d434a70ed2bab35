#pragma once

#include "operations/argument.h"
#include "operations/entry.h"

// Arguments that are made for the call: records, segments and lists.
namespace operations {

// The count of application entries in the word before, which may be fewer than there are.
class entry_count : public argument<int32_t> {
public:
    static std::string wrong(words given, size_t at)
    {
        std::string no_number = argument::wrong(given, at);
        if (!no_number.empty() || given[at - 1] == null_word)
            return no_number;
        const auto there = static_cast<int64_t>(given[at - 1].size() / 2 / UTM_APP_ENTRY_SIZE);
        return parse_whole(given[at]).value() <= there ? "" : "is more than the entries before it";
    }

    using argument::argument;
};

// A config event, filled up with zero bytes to the size of the longest.
class config_event : public bytes<1, sizeof(utm_cf_config_event)> {
public:
    config_event(words given, size_t at) : bytes(given, at), null_(given[at] == null_word)
    {
        if (!null_)
            std::copy_n(bytes::value(), given[at].size() / 2, reinterpret_cast<uint8_t*>(&event_));
    }

    const void* value() const { return null_ ? nullptr : &event_; }

private:
    bool null_;
    utm_cf_config_event event_ = {};
};

// What an attaching function returned.
template <auto attach> class attached : public read_only<const void*> {
public:
    static std::string word() { return "attached, for the segment that is attached before, or null"; }
    static std::string wrong(words given, size_t at)
    {
        return given[at] == "attached" || given[at] == null_word ? "" : "is neither attached nor null";
    }

    attached(words given, size_t at) : address_(given[at] == null_word ? nullptr : attach()) {}
    const void* value() const { return address_; }

private:
    const void* address_;
};

// A list to be released.
template <class Node> class argument<Node*> : public read_only<Node*> {
public:
    static constexpr int64_t most = 1000;

    static std::string word()
    {
        return "the number of entries of a list that is made for the call, 0 to " + std::to_string(most) + ", or null";
    }

    static std::string wrong(words given, size_t at)
    {
        const int64_t count = parse_whole(given[at]).value_or(-1);
        return given[at] == null_word || (count >= 0 && count <= most) ? "" : "is not " + word();
    }

    argument(words given, size_t at)
    {
        if (given[at] == null_word)
            return;
        head_ = new_node<Node>();
        for (int64_t left = parse_whole(given[at]).value(); left > 0; left--)
            insert_before(new_node<Node>(), head_);
    }

    Node* value() const { return head_; }

private:
    Node* head_ = nullptr;
};

} // namespace operations
