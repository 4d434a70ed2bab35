#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <sys/types.h>
#include <vector>

// utmctl as its users see it: what it prints, and how it ends.
struct run_result {
    int status; // 128 and the signal's number for a process that was killed
    std::string out;
    std::string err;

    friend bool operator==(const run_result&, const run_result&) = default;
};

std::ostream& operator<<(std::ostream& stream, const run_result& result);

// What it prints with -j when all is done.
std::string done_line(const std::string& command, const std::string& result);

ptrdiff_t line_count(const std::string& text);

// The words of the command, without the arguments.
std::string command_of(const std::string& line);

// A command that fails and prints nothing but this.
run_result refused(int status, const std::string& error);

// Collects what a process writes.
class captured {
public:
    captured();
    captured(const captured&) = delete;
    captured& operator=(const captured&) = delete;
    ~captured();

    int fd() const { return fd_; }
    std::string text() const;
    std::string lines(ptrdiff_t count) const; // the text, when it has so many

private:
    int fd_;
};

// utmctl with the words of the line, while it runs. Its standard output goes to the given descriptor, if any.
class running_utmctl {
public:
    explicit running_utmctl(const std::string& line, int standard_output = -1);

    pid_t process() const { return process_; }
    pid_t worker() const; // waits until there is one
    run_result wait();

private:
    captured out_;
    captured err_;
    pid_t process_ = -1;
};

// Runs utmctl with the words of the line; 'one word' is one.
run_result utmctl(const std::string& line);

// What it tells with -j; and the result alone, of a command that succeeds.
nlohmann::ordered_json told_by(const std::string& line);
nlohmann::ordered_json result_of(const std::string& line);

// The same for a user without rights; nothing where nobody else exists. Fails the test where others may not execute it.
std::optional<run_result> utmctl_of_another_user(const std::string& line);
