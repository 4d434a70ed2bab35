#pragma once

#include <cstddef>

// How far a long command has come, shown on standard error while that is a terminal, and wiped away at the end.
class progress {
public:
    explicit progress(size_t total);
    progress(const progress&) = delete;
    progress& operator=(const progress&) = delete;
    ~progress();

    void show(size_t done);
    void hide(); // until it is shown again

private:
    const size_t total_;
    const bool wanted_;
    size_t shown_ = 0; // in hundredths of the whole
};
