#pragma once

#include "sim/json_form.h"
#include "sim/service.h"
#include "sim/wire_text.h"

#include <utility>

namespace sim {

// Why an engine refuses. The values are the simulator's own invention.
enum engine_result : int32_t {
    accepted = 0,
    entry_exists = 101,
    entry_unknown = 102,
    value_refused = 103,
    list_full = 104,
    operation_unknown = 105
};

// What goes back: the entries of a list, and the reply that ends it.
template <class Reply> struct engine_answer {
    std::vector<record> entries;
    Reply last = {};
};

// What the four engines share: a table whose rows both name a code's fields and carry it out. A Service has
//   - find(code), the row of one of its codes, or null;
//   - state_, of a struct that json_form knows.
template <class Service, class Request, class Reply, int32_t Reply::*result> class engine_service : public service {
public:
    using answer_to = engine_answer<Reply>;
    using handler = int32_t (Service::*)(const Request&, answer_to&);

    struct operation : code_row {
        handler handle;
    };

    const code_row* row_of(uint32_t code) const final { return Service::find(code); }

    std::vector<record> answer(const record& bytes) final
    {
        const auto request = from_record<Request>(bytes);
        const operation* row = Service::find(request.code);
        answer_to answer;
        answer.last.*result = row != nullptr ? (self().*row->handle)(request, answer) : operation_unknown;
        answer.entries.push_back(to_record(answer.last));
        return std::move(answer.entries);
    }

    json state() const override { return to_json(static_cast<const Service&>(*this).state_); }
    void load(const json& state, const std::string& where) override { from_json(self().state_, state, where); }

private:
    Service& self() { return static_cast<Service&>(*this); }
};

// Takes 0 and 1 alone.
inline int32_t switch_to(bool& state, uint32_t value)
{
    if (value > 1)
        return value_refused;
    state = value == 1;
    return accepted;
}

} // namespace sim
