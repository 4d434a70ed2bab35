#pragma once

#include "tools/utmctl/exit_status.h"
#include "tools/utmctl/printable.h"

#include <exception>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Keeps the order in which members are written.
using json = nlohmann::ordered_json;

// Who is to blame for a failure, and why: "the application daemon (/dev/...)" and "cannot be reached: ...".
struct culprit {
    std::string name; // as people read it
    std::string path; // its socket or file; may be empty
    std::string cause;
};

// One failure: what did not happen, who is to blame for it, and what to do next. Told as one sentence.
struct problem {
    exit_status status;
    std::string what;
    std::vector<culprit> culprits;
    std::string next;
};

// Ends a command, or its work on one identifier, with a problem.
class failure : public std::exception {
public:
    explicit failure(problem why) : why_(std::move(why)) {}
    const problem& why() const { return why_; }
    const char* what() const noexcept override { return why_.what.c_str(); }

private:
    problem why_;
};

// Arguments that are refused before anything is sent; where they belong to a command, its words are named.
[[noreturn]] void refuse_usage(const std::string& what, const std::string& next);

struct column {
    const char* heading;
    bool number = true;  // stands at the right
    bool status = false; // its words tell how something is, and are coloured at a terminal
};

struct table {
    std::vector<column> columns;
    std::vector<std::vector<std::string>> rows;
};

// What a command hands back. People read lines, table and confirmations, scripts read the result.
struct outcome {
    exit_status status = exit_status::done;
    json result;
    std::vector<std::string> lines;         // what was asked for
    std::optional<table> rows;              // the same, as a table
    std::vector<std::string> confirmations; // left out by --quiet
    std::vector<std::string> notices;       // for standard error, though nothing has failed; left out by --quiet
    std::vector<problem> problems;
    std::optional<json> explanation = {}; // where --explain wants it
    bool printed = false;                 // by the command itself, piece by piece; what is left are the problems
};

// A command that works on several things adds up what each of them came to.
void add(outcome& sum, outcome part);

// What a command comes to that ended so.
outcome failed(const failure& cause);

std::string sentence_of(const problem& why);
json json_of(const problem& why);
problem problem_of(const json& told); // what json_of tells
