#include "tests/utmctl/run.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <iomanip>
#include <spawn.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::vector<std::string> words_of(const std::string& line)
{
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> std::quoted(word, '\'');)
        words.push_back(word);
    return words;
}

pid_t spawn(const std::string& line, int out, int err)
{
    std::vector<std::string> words = words_of(line);
    words.insert(words.begin(), KQUTM_UTMCTL);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err, STDERR_FILENO);
    pid_t process = -1;
    EXPECT_EQ(posix_spawn(&process, KQUTM_UTMCTL, &actions, nullptr, arguments.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    return process;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const run_result& result)
{
    return stream << "status " << result.status << "\n--- out\n" << result.out << "--- err\n" << result.err;
}

std::string done_line(const std::string& command, const std::string& result)
{
    return R"({"command":")" + command + R"(","status":"done","exit":0,"result":)" + result + R"(,"errors":[]})" + "\n";
}

ptrdiff_t line_count(const std::string& text)
{
    return std::count(text.begin(), text.end(), '\n');
}

std::string command_of(const std::string& line)
{
    return line.substr(0, line.find(' ', line.find(' ') + 1));
}

run_result refused(int status, const std::string& error)
{
    return {status, "", "utmctl: " + error};
}

captured::captured() : fd_(memfd_create("captured", MFD_CLOEXEC)) {}

captured::~captured()
{
    close(fd_);
}

std::string captured::text() const
{
    std::string text(static_cast<size_t>(lseek(fd_, 0, SEEK_END)), '\0');
    EXPECT_EQ(pread(fd_, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    return text;
}

std::string captured::lines(ptrdiff_t count) const
{
    std::string all;
    while (all = text(), line_count(all) < count)
        usleep(1000);
    return all;
}

running_utmctl::running_utmctl(const std::string& line, int standard_output)
    : process_(spawn(line, standard_output < 0 ? out_.fd() : standard_output, err_.fd()))
{
}

pid_t running_utmctl::worker() const
{
    const std::string number = std::to_string(process_);
    pid_t worker = 0;
    while (!(std::ifstream("/proc/" + number + "/task/" + number + "/children") >> worker))
        usleep(1000);
    return worker;
}

run_result running_utmctl::wait()
{
    int status = -1;
    EXPECT_EQ(waitpid(process_, &status, 0), process_);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), out_.text(), err_.text()};
}

run_result utmctl(const std::string& line)
{
    return running_utmctl(line).wait();
}

nlohmann::ordered_json told_by(const std::string& line)
{
    return nlohmann::ordered_json::parse(utmctl("-j " + line).out);
}

nlohmann::ordered_json result_of(const std::string& line)
{
    const run_result result = utmctl("-j " + line);
    EXPECT_EQ(result.status, 0) << line << "\n" << result;
    return nlohmann::ordered_json::parse(result.out).at("result");
}

std::optional<run_result> utmctl_of_another_user(const std::string& line)
{
    if (setresuid(1000, 1000, 0) != 0)
        return {};
    std::optional<run_result> told;
    if (eaccess(KQUTM_UTMCTL, X_OK) == 0)
        told = utmctl(line);
    else
        ADD_FAILURE() << "other users may not execute " KQUTM_UTMCTL "; build in a folder that is open to them";
    setresuid(0, 0, 0);
    return told;
}
