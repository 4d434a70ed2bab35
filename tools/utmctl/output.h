#pragma once

#include "tools/utmctl/command.h"

// The object that --json prints.
json json_of(const std::string& command, const outcome& result);

// What people read instead.
std::string text_of(const outcome& result, const output_style& style);

// On standard error, both.
void print_notices(const outcome& result, const output_style& style);

// Where it belongs to a part of the whole, such as "line 3", its place is named.
void print_problem(const problem& one, const std::string& place = "");

// Standard output, for results that come piece by piece.
class result_stream {
public:
    result_stream();
    void print(const std::string& text);
    void print(const json& value); // in one line

    // Not any more when the reader has gone, or when there was no room.
    bool is_taken() const { return error_ == 0; }

    // Adds the problem of results that were not printed. A reader who went away has seen enough.
    void tell_loss(outcome& told) const;

private:
    int error_ = 0;
};

// Prints the outcome of a command: results on standard output, problems on standard error. Returns the exit status,
// which is not done when the results could not be written.
exit_status print(const std::string& command, outcome result, const output_style& style);
