#pragma once

#include "kqutm/daemon.h"

#include <cstddef>

// How the entries of one list stand in the records that carry them, and what is logged on the way. Positions are in
// bytes from the start of the entry or record.
struct list_kind {
    int target;
    int code;
    size_t slot;                 // record: where the address of the head goes
    size_t entry_size;           // 0: no list at all, and a record that carries an entry fails the exchange
    size_t links;                // entry
    size_t to;                   // entry: the fields
    size_t from;                 // record: the fields
    size_t size;                 // of the fields, copied as they came
    char head_not_allocated[48]; // texts stand in the row itself: a pointer is work for the loader
    char head_missing[48];
    char entry_not_allocated[48];
    void (*trace)(const utm_event_response& record); // null: none
};

// A response list while it is collected. It releases nothing: its receiver gets it whole, and a failed exchange
// abandons what it has collected.
class response_list {
public:
    // For the answers to a request; operation is the name that its log lines carry.
    response_list(int target, int code, const char* operation);

    // Allocates the head of the request's list, if it has one. False: logged.
    bool create_head();

    // Appends the entry that a record carries, if the request has a list. False: logged.
    bool append(const utm_event_response& record);

    // Writes the address of the head into its slot.
    void hand_over(utm_event_response& response) const;

private:
    utm_list_links* links_of(char* entry) const;

    const list_kind* kind_; // null: records that carry entries are skipped
    const char* operation_;
    char* head_ = nullptr;
};
