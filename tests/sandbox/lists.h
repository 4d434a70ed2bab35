#pragma once

#include "kqutm/daemon.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <vector>

// The entries behind a head, as steps along next; checks that prev leads back.
template <class Entry> std::vector<Entry*> entries_of(Entry* head)
{
    std::vector<Entry*> entries;
    for (utm_list_links* at = head->links.next; at != &head->links; at = at->next) {
        EXPECT_EQ(at->prev->next, at);
        EXPECT_EQ(at->next->prev, at);
        entries.push_back(reinterpret_cast<Entry*>(reinterpret_cast<char*>(at) - offsetof(Entry, links)));
    }
    return entries;
}
