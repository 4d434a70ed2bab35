#pragma once

#include "tests/engines/engines.h"
#include "tests/sandbox/printed.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <map>
#include <span>

// What an operation refuses before it connects, and the text that it logs then.
struct bad_argument {
    const char* what;
    const char* operation;
    int32_t (*call)();
    const char* text;
};

inline void expect_refused_unconnected(const bad_argument& one, std::string (*log)())
{
    wrap::plan plan;
    const std::string printed = printed_by([&] {
        EXPECT_EQ(one.call(), -1);
        EXPECT_EQ(errno, EINVAL);
    });
    EXPECT_EQ(printed, "");
    EXPECT_EQ(plan.count("socket"), 0);
    EXPECT_EQ(log(), line_of(one.operation, one.text));
}

// One call of the operation for each text.
inline std::map<std::string, int32_t (*)()> refused_calls(std::span<const bad_argument> all,
                                                          const std::string& operation)
{
    std::map<std::string, int32_t (*)()> calls;
    for (const bad_argument& one : all) {
        if (one.operation == operation)
            calls[one.text] = one.call;
    }
    return calls;
}
