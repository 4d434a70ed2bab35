#pragma once

#include <string>
#include <vector>

// How results are to be printed.
struct output_style {
    bool json = false;
    bool pretty = false;
    bool quiet = false;
    bool headers = true;
    std::vector<std::string> columns = {}; // of tables, by their headings; none: all
};
