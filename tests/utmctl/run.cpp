#include "tests/utmctl/run.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iterator>
#include <spawn.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Collects what a process writes.
class captured {
public:
    captured() : fd_(memfd_create("captured", MFD_CLOEXEC)) {}
    captured(const captured&) = delete;
    captured& operator=(const captured&) = delete;
    ~captured() { close(fd_); }

    int fd() const { return fd_; }
    std::string text() const
    {
        std::string text(static_cast<size_t>(lseek(fd_, 0, SEEK_END)), '\0');
        EXPECT_EQ(pread(fd_, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
        return text;
    }

private:
    int fd_;
};

std::vector<std::string> words_of(const std::string& line)
{
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const run_result& result)
{
    return stream << "status " << result.status << "\n--- out\n" << result.out << "--- err\n" << result.err;
}

run_result utmctl(const std::string& line)
{
    std::vector<std::string> words = words_of(line);
    words.insert(words.begin(), KQUTM_UTMCTL);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    const captured out;
    const captured err;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out.fd(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err.fd(), STDERR_FILENO);
    pid_t process = -1;
    EXPECT_EQ(posix_spawn(&process, KQUTM_UTMCTL, &actions, nullptr, arguments.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    int status = -1;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), out.text(), err.text()};
}
