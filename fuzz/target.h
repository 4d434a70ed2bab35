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

// Releases a list of an engine, whose nodes hold the links themselves, and counts its entries.
template <class Node> size_t count_and_free(Node* head)
{
    size_t count = 0;
    for (Node* node = head->next; node != head; count++) {
        Node* next = node->next;
        require(next->prev == node, "links lead there and back");
        free(node);
        node = next;
    }
    free(head);
    return count;
}

// The result of a request is that of the record that answers it, which has it at an offset.
inline void require_result(int32_t result, const machine& machine, size_t offset)
{
    const bytes* const answer = machine.first_whole();
    require(result == (answer == nullptr ? -1 : value_at(*answer, offset)), "the result is that of a whole record");
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
