#pragma once

#include "tools/utmctl/deed.h"

// The content filter's switches: its two engines, the filter as a whole, the kernel's files, and the redirect page.

struct filter_engine {
    const char* name;
    const char* file; // which holds its switch
    int32_t (*call)(int32_t value);
};

extern const filter_engine safe_browsing;
extern const filter_engine web_category;

outcome switch_engine(const filter_engine& engine, const request& asked);

template <const filter_engine& engine> outcome switch_engine(const request& asked)
{
    return switch_engine(engine, asked);
}

// The problem of an engine that was not switched, from errno and the lines that the diagnostic log gained.
problem engine_problem(const filter_engine& engine, const deed_words& words, int error,
                       const std::vector<std::string>& log);

outcome follow_engines(const request& asked);
outcome switch_kernel(const request& asked);
outcome set_redirect_page(const request& asked);
outcome dump_kernel(const request& asked);
outcome show_filter(const request& asked);
