#pragma once

#include "sim/json_form.h"
#include "sim/service.h"

#include <utility>

namespace sim {

// What goes back: the entries of a list, and the reply that ends it.
template <class Reply> struct answer_of {
    std::vector<record> entries;
    Reply last = {};
};

// A daemon with a table of rows that carry its codes out. What they return goes into the member result of the last
// reply. A Service has find(code), the row of one of its codes, or null.
template <class Service, class Request, class State, class Reply, auto result, auto unknown_code>
class table_service : public service {
public:
    using answer_to = answer_of<Reply>;
    using handler = decltype(unknown_code) (Service::*)(const Request&, answer_to&);

    struct code_handler {
        uint32_t code;
        handler handle;
    };

    std::vector<record> answer(const record& bytes) final
    {
        const auto request = from_record<Request>(bytes);
        const code_handler* row = Service::find(request.code);
        answer_to answer;
        answer.last.*result = row != nullptr ? (self().*row->handle)(request, answer) : unknown_code;
        answer.entries.push_back(to_record(answer.last));
        return std::move(answer.entries);
    }

    json state() const override { return to_json(state_); }
    void load(const json& state, const std::string& where) override { from_json(state_, state, where); }

protected:
    Service& self() { return static_cast<Service&>(*this); }

    State state_;
};

} // namespace sim
