#pragma once

#include <sys/mman.h>

// What a test and the processes that it forks share, zero at first.
template <class Content> class shared {
public:
    shared()
        : content_(static_cast<Content*>(
              mmap(nullptr, sizeof(Content), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
    {
    }
    shared(const shared&) = delete;
    shared& operator=(const shared&) = delete;
    ~shared() { munmap(content_, sizeof(Content)); }

    Content& operator*() const { return *content_; }
    Content* operator->() const { return content_; }

private:
    Content* content_;
};
