// A config daemon that answers a question, with a list where the code has one.

#include "fuzz/target.h"

#include <cstddef>

namespace {

// A question, and how its list stands in the answer. An entry size of 0: it has none.
struct question {
    int target;
    uint8_t code;
    size_t head;                 // in the answer
    size_t links;                // in the entry
    size_t fields;               // in the entry
    size_t from;                 // in the record
    size_t size;                 // of the fields
    const char* trace = nullptr; // what its line in the log starts with, before the text or number of the entry
};

const question questions[] = {
    {UTM_CONFIG_TARGET_APP, 36, 56, 0, 16, 48, 8},
    {UTM_CONFIG_TARGET_APP, 37, 208, 0, 16, 80, 128, "response->app.app_usage_prev_days.app_id: "},
    {UTM_CONFIG_TARGET_APP, 31, 272, 0, 16, 264, 8},
    {UTM_CONFIG_TARGET_APP, 47, 0, 0, 0, 0, 0},
    {UTM_CONFIG_TARGET_APP, 48, 56, 0, 16, 48, 8},
    {UTM_CONFIG_TARGET_CF, 25, 824, 520, 0, 288, 516, "response->cf.domain_browse->domain: "},
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

// What the daemon sent: records that carry an entry, and whether the one behind them ended the answer well.
struct stream {
    std::vector<fuzz::bytes> entries;
    bool ended;
};

stream stream_of(const question& asked, const std::vector<fuzz::piece>& sent)
{
    stream stream = {{}, false};
    for (const fuzz::piece& piece : sent) {
        stream.ended = piece.whole && piece.data.front() == UTM_RESPONSE_OK;
        if (!piece.whole || piece.data.front() != UTM_RESPONSE_MORE || !may_stream(asked))
            break;
        stream.entries.push_back(piece.data);
    }
    return stream;
}

// The list, which is released.
void check_list(const question& asked, char* head, const std::vector<fuzz::bytes>& entries)
{
    auto* const end = reinterpret_cast<utm_list_links*>(head + asked.links);
    utm_list_links* at = end->next;
    for (const fuzz::bytes& record : entries) {
        fuzz::require(at != end, "no entry is missing");
        fuzz::require(at->next->prev == at, "links lead there and back");
        char* const entry = reinterpret_cast<char*>(at) - asked.links;
        fuzz::require(memcmp(entry + asked.fields, record.data() + asked.from, asked.size) == 0,
                      "an entry is what the daemon sent");
        at = at->next;
        free(entry);
    }
    fuzz::require(at == end, "each entry is of a record");
    free(head);
}

// An answer is the last record, but for the slot of its list.
void check_answer(const question& asked, utm_event_response* answer, const stream& sent, fuzz::bytes last)
{
    auto* const fields = reinterpret_cast<char*>(answer);
    if (has_list(asked)) {
        char* head;
        memcpy(&head, fields + asked.head, sizeof head);
        memcpy(last.data() + asked.head, fields + asked.head, sizeof head);
        check_list(asked, head, sent.entries);
    }
    fuzz::require(memcmp(fields, last.data(), sizeof *answer) == 0, "an answer is what the daemon sent");
    free(answer);
}

// A domain may fill its field.
std::string traced(const question& asked, const fuzz::bytes& record)
{
    constexpr size_t domain_size = 512;
    if (asked.target == UTM_CONFIG_TARGET_APP)
        return asked.trace + std::to_string(fuzz::value_at(record, asked.from));
    const auto* const domain = reinterpret_cast<const char*>(record.data()) + asked.from;
    return asked.trace + std::string(domain, strnlen(domain, domain_size));
}

void check_traces(const question& asked, const stream& sent, const std::vector<std::string>& lines)
{
    std::vector<std::string> expected;
    for (const fuzz::bytes& record : sent.entries) {
        if (asked.trace != nullptr)
            expected.push_back(traced(asked, record));
    }
    std::vector<std::string> traces;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(traces),
                 [](const std::string& line) { return line.rfind("response->", 0) == 0; });
    fuzz::require(traces == expected, "a trace tells what the daemon sent");
}

// The response, the head and the entries of a failed exchange.
size_t abandoned(const question& asked, const fuzz::connection& daemon, const stream& sent)
{
    if (!daemon.was_asked())
        return 0;
    return has_list(asked) ? 2 + sent.entries.size() : 1;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    const question& asked = questions[input.byte() % std::size(questions)];
    const utm_cf_config_event event = {.code = asked.code};
    fuzz::machine machine(input);
    const fuzz::connection& daemon = machine.daemon();
    utm_event_response* const answer = send_utm_event_and_get_response(&event, asked.target);
    const stream sent = stream_of(asked, daemon.sent());
    fuzz::require((answer != nullptr) == sent.ended, "success is what the daemon sent in full");
    check_traces(asked, sent, machine.written(UTM_APPCF_LOG));
    if (answer != nullptr)
        check_answer(asked, answer, sent, daemon.sent().back().data);
    else
        machine.expect_blocks(abandoned(asked, daemon, sent));
    machine.expect_connection(daemon.was_opened() && daemon.descriptor() == 0);
    return 0;
}
