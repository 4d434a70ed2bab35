/* Lists that own their entries: moved, not copied; gone with their owner, each in its own way; read as ranges. */
#ifndef KQUTM_HPP_LISTS_HPP
#define KQUTM_HPP_LISTS_HPP

#include "../av.h"
#include "../devid.h"
#include "../ips.h"
#include "../ir.h"
#include "../profile.h"
#include "result.hpp"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace kqutm {

namespace detail {

/* The entry that follows: the entries of most lists point to each other, those of response lists to their links. */
template <class Entry> Entry* next(const Entry* at)
{
    if constexpr (requires { at->links; })
        return reinterpret_cast<Entry*>(reinterpret_cast<char*>(at->links.next) - offsetof(Entry, links));
    else
        return at->next;
}

/* Releases the entries and the head one by one, as the lists without a function of their own want it. */
template <class Entry> void release(Entry* head)
{
    for (Entry* at = next(head); at != head;) {
        Entry* following = next(at);
        std::free(at);
        at = following;
    }
    std::free(head);
}

inline void release(utm_device* head)
{
    utm_devid_free_device_list(head);
}

inline void release(utm_profile_mapping* head)
{
    utm_free_profile_mapping_list(head);
}

inline void release(utm_app_usage_entry* head)
{
    utm_user_profile_free_app_usage_list(head);
}

inline void release(utm_weekday_limit_entry* head)
{
    utm_user_profile_free_weekday_limit_list(head);
}

inline void release(utm_app_usage_prev_days_entry* head)
{
    utm_user_profile_free_app_usage_prev_days_list(head);
}

struct releaser {
    template <class Entry> void operator()(Entry* head) const { release(head); }
};

} // namespace detail

/* The entries of a list, in its order; none in one that was moved from. Entries live as long as the list. */
template <class Entry> class list {
public:
    class iterator {
    public:
        using value_type = Entry;
        using difference_type = std::ptrdiff_t;
        using iterator_category = std::forward_iterator_tag;
        using pointer = const Entry*;
        using reference = const Entry&;

        iterator() = default;
        explicit iterator(const Entry* at) : at_(at) {}
        reference operator*() const { return *at_; }
        pointer operator->() const { return at_; }
        iterator& operator++()
        {
            at_ = detail::next(at_);
            return *this;
        }
        iterator operator++(int)
        {
            iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const iterator&) const = default;

    private:
        const Entry* at_ = nullptr;
    };

    list() = default;

    /* Takes over a list of the C interface: its head, or null for none. */
    explicit list(Entry* head, std::optional<cause> broken_off = std::nullopt) : head_(head), broken_off_(broken_off) {}

    iterator begin() const { return iterator(head_ ? detail::next(head_.get()) : nullptr); }
    iterator end() const { return iterator(head_.get()); }
    bool empty() const { return begin() == end(); }

    /* Why the stream of an engine ended early, so that entries may be missing; nothing for a whole list. */
    std::optional<cause> broken_off() const { return broken_off_; }

    /* Hands the head over to the caller, who releases the list. */
    Entry* release() { return head_.release(); }

private:
    std::unique_ptr<Entry, detail::releaser> head_;
    std::optional<cause> broken_off_;
};

namespace detail {

/* The list that an operation of a config daemon returned: null is a failure. */
template <class Entry> result<list<Entry>> answered(Entry* head)
{
    if (head == nullptr)
        return failed();
    return list<Entry>(head);
}

/* The list that call() returns, where null with errno 0 is an empty one. */
template <class Call> auto possibly_none(Call call) -> result<list<std::remove_pointer_t<decltype(call())>>>
{
    errno = 0;
    auto* head = call();
    if (head == nullptr && errno != 0)
        return failed();
    return list(head);
}

/* Whether errno tells that an engine's list is not whole (kqutm/common.h). */
inline bool is_broken_off()
{
    for (const int error : {ETIMEDOUT, ENODATA, EPROTO, EINTR, ECONNRESET, ENOMEM}) {
        if (errno == error)
            return true;
    }
    return false;
}

/* The list that an engine streamed: call() returns it. */
template <class Call> auto streamed(Call call) -> result<list<std::remove_pointer_t<decltype(call())>>>
{
    errno = 0;
    auto* head = call();
    if (head == nullptr && errno != 0)
        return failed();
    return list(head, is_broken_off() ? std::optional(failed(0)) : std::nullopt);
}

} // namespace detail

} // namespace kqutm

#endif
