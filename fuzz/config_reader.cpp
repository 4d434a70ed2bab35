// A config daemon that answers a question, with a list where the code has one.

#include "fuzz/target.h"

#include <cstddef>

namespace {

// A question, and how its list stands in the answer. An entry size of 0: it has none.
struct question {
    int target;
    uint8_t code;
    size_t head;   // in the answer
    size_t links;  // in the entry
    size_t fields; // in the entry
    size_t from;   // in the record
    size_t size;   // of the fields
};

const question questions[] = {
    {UTM_CONFIG_TARGET_APP, 36, 56, 0, 16, 48, 8},
    {UTM_CONFIG_TARGET_APP, 37, 208, 0, 16, 80, 128},
    {UTM_CONFIG_TARGET_APP, 31, 272, 0, 16, 264, 8},
    {UTM_CONFIG_TARGET_APP, 47, 0, 0, 0, 0, 0},
    {UTM_CONFIG_TARGET_APP, 48, 56, 0, 16, 48, 8},
    {UTM_CONFIG_TARGET_CF, 25, 824, 520, 0, 288, 516},
    {UTM_CONFIG_TARGET_CF, 22, 0, 0, 0, 0, 0},
    {UTM_CONFIG_TARGET_USER_PROFILE, 1, 0, 0, 0, 0, 0},
    {3, 22, 0, 0, 0, 0, 0},
};

bool has_list(const question& asked)
{
    return asked.size != 0;
}

bool may_stream(const question& asked)
{
    return asked.target != UTM_CONFIG_TARGET_APP || asked.code != 47;
}

// Whether the daemon answered in full: records that say that more follows, and one that ends them.
bool answered(const question& asked, const std::vector<fuzz::piece>& sent)
{
    for (const fuzz::piece& piece : sent) {
        if (!piece.whole || (piece.data[0] != UTM_RESPONSE_OK && piece.data[0] != UTM_RESPONSE_MORE))
            return false;
        if (piece.data[0] == UTM_RESPONSE_OK)
            return true;
        if (!may_stream(asked))
            return false;
    }
    return false;
}

void check_and_free_list(const question& asked, const utm_event_response* answer, const std::vector<fuzz::piece>& sent)
{
    char* head;
    memcpy(&head, reinterpret_cast<const char*>(answer) + asked.head, sizeof head);
    auto* const end = reinterpret_cast<utm_list_links*>(head + asked.links);
    auto record = sent.begin();
    for (utm_list_links* at = end->next; at != end; ++record) {
        fuzz::require(record->data[0] == UTM_RESPONSE_MORE, "an entry for each record that carries one");
        char* const entry = reinterpret_cast<char*>(at) - asked.links;
        fuzz::require(memcmp(entry + asked.fields, record->data.data() + asked.from, asked.size) == 0,
                      "an entry is what the daemon sent");
        at = at->next;
        free(entry);
    }
    fuzz::require(record->data[0] == UTM_RESPONSE_OK, "no entry is missing");
    free(head);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    const question& asked = questions[input.byte() % std::size(questions)];
    const utm_cf_config_event event = {.code = asked.code};
    fuzz::machine machine(input);
    utm_event_response* const answer = send_utm_event_and_get_response(&event, asked.target);
    fuzz::require((answer != nullptr) == answered(asked, machine.sent()), "an answer is what the daemon sent in full");
    if (answer == nullptr) {
        machine.free_abandoned();
        return 0;
    }
    if (has_list(asked))
        check_and_free_list(asked, answer, machine.sent());
    free(answer);
    return 0;
}
