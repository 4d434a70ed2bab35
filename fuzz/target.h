#pragma once

#include "kqutm/daemon.h"

#include "fuzz/machine.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>

// What every target includes. A target is LLVMFuzzerTestOneInput: it plays the daemon, or whoever else the bytes come
// from, and requires of the library that it told the truth and released what it took.

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzz {

// The result of a request is that of the record that answers it, which has it at an offset.
inline void require_result(int32_t result, const connection& daemon, size_t offset)
{
    const bytes* const answer = daemon.first_whole();
    require(result == (answer == nullptr ? -1 : value_at(*answer, offset)), "the result is that of a whole record");
}

// Three words of a status stand behind the code of the record that answers, and are left alone where none does.
template <class Status> void check_status(int32_t (*show)(Status*), const connection& daemon, size_t result_at)
{
    constexpr size_t words_at = 4;
    Status status = {1, {2, 3, 4}};
    Status expected = status;
    const int32_t result = show(&status);
    require_result(result, daemon, result_at);
    if (result != -1)
        memcpy(expected.words, daemon.first_whole()->data() + words_at, sizeof expected.words);
    require(memcmp(&status, &expected, sizeof status) == 0, "a status is what the daemon sent");
}

// A text in a record, which may fill its field, and in an entry whose own is zero.
template <size_t Size> void copy_text(char (&to)[Size], const bytes& record, size_t offset, size_t width)
{
    const auto* const text = reinterpret_cast<const char*>(record.data()) + offset;
    memcpy(to, text, strnlen(text, width));
}

// An entry for each record, which fill makes of it and an entry of zeros. A node holds the links themselves.
template <class Node, class Fill> void require_entries(const Node* head, const std::vector<bytes>& records, Fill fill)
{
    const Node* node = head;
    for (const bytes& record : records) {
        require(node->next != head && node->next->prev == node, "no entry is missing");
        node = node->next;
        Node expected;
        memset(&expected, 0, sizeof expected);
        fill(expected, record);
        expected.prev = node->prev;
        expected.next = node->next;
        require(memcmp(node, &expected, sizeof expected) == 0, "an entry is what the daemon sent");
    }
    require(node->next == head && head->prev == node, "each entry is of a record");
}

// A list that is there whenever the daemon was asked. Releases it.
template <class Node, class Fill>
void check_list(Node* head, const connection& daemon, const std::vector<bytes>& records, Fill fill)
{
    require((head != nullptr) == daemon.was_asked(), "a list is returned as far as it came");
    if (head == nullptr)
        return;
    require_entries(head, records, fill);
    head->prev->next = nullptr;
    while (head != nullptr) {
        Node* const next = head->next;
        free(head);
        head = next;
    }
}

// The field of a request: a text, cut where it is too long, and zero behind it.
inline void require_text(const bytes& request, size_t offset, size_t width, const bytes& text)
{
    const size_t length = std::min(static_cast<size_t>(std::find(text.begin(), text.end(), 0) - text.begin()), width);
    require(
        std::equal(text.begin(), text.begin() + static_cast<long>(length), request.begin() + static_cast<long>(offset)),
        "the request holds the text");
    for (size_t i = length; i < width; i++)
        require(request[offset + i] == 0, "the rest of the field is zero");
}

} // namespace fuzz
