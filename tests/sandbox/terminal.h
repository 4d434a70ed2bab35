#pragma once

#include <chrono>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// A session of its own on a fresh terminal.
class terminal {
public:
    explicit terminal(const std::vector<const char*>& command)
    {
        process_ = forkpty(&fd_, nullptr, nullptr, nullptr);
        if (process_ != 0)
            return;
        std::vector<const char*> arguments = command;
        arguments.push_back(nullptr);
        execvp(arguments[0], const_cast<char**>(arguments.data()));
        _exit(127);
    }
    terminal(const terminal&) = delete;
    terminal& operator=(const terminal&) = delete;
    ~terminal() { close(fd_); }

    void type(const std::string& text) const
    {
        EXPECT_EQ(write(fd_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    // Waits until the text comes after what was waited for before, for a minute at most.
    bool shows(const std::string& text)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        size_t place = 0;
        while ((place = screen_.find(text, seen_)) == std::string::npos) {
            if (std::chrono::steady_clock::now() > end || !read_more())
                return false;
        }
        seen_ = place + text.size();
        return true;
    }

    // Of the shell: 128 and the signal's number for a process that was killed.
    int status()
    {
        while (read_more()) {
        }
        int status = -1;
        EXPECT_EQ(waitpid(process_, &status, 0), process_);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    const std::string& screen() const { return screen_; }

private:
    bool read_more()
    {
        char piece[4096];
        pollfd readable = {.fd = fd_, .events = POLLIN};
        if (poll(&readable, 1, 60'000) != 1)
            return false;
        ssize_t size = read(fd_, piece, sizeof piece);
        if (size <= 0)
            return false;
        screen_.append(piece, static_cast<size_t>(size));
        return true;
    }

    int fd_ = -1;
    pid_t process_;
    std::string screen_;
    size_t seen_ = 0;
};
