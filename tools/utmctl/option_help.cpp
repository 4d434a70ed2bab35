#include "tools/utmctl/option_help.h"

#include "tools/utmctl/options.h"

#include <algorithm>

namespace {

constexpr const char* left_out = nullptr;
constexpr char each_daemon[] = "how long each daemon may take (default 2)";
constexpr char as_a_whole[] = "how long to wait as a whole (default 60)";
constexpr char one_a_line[] = "print one JSON object a line instead";

struct wording {
    std::string_view words;
    std::string_view option;
    const char* help;
};

constexpr wording wordings[] = {
    {"doctor", "--columns", left_out},
    {"doctor", "--no-headers", left_out},
    {"doctor", "--timeout", each_daemon},
    {"doctor", "--wait", left_out},
    {"doctor", "--yes", left_out},
    {"registry audit", "--timeout", each_daemon},
    {"status", "--timeout", each_daemon},
    {"status", "--wait", left_out},
    {"status", "--yes", left_out},
    {"wait", "--columns", left_out},
    {"wait", "--no-headers", left_out},
    {"wait", "--timeout", as_a_whole},
    {"wait", "--wait", left_out},
    {"wait", "--yes", left_out},
    {"watch", "--dry-run", left_out},
    {"watch", "--explain", left_out},
    {"watch", "--json", one_a_line},
    {"watch", "--yes", left_out},
    {"batch", "--json", "print one JSON object a line, with or without it"},
    {"log", "--json", "print one JSON value instead, with -f one JSON object a line"},
};

} // namespace

std::vector<global_option> options_of(std::string_view words)
{
    std::vector<global_option> options;
    for (global_option one : global_options) {
        const std::vector<std::string> names = names_of(one);
        const auto* own = std::find_if(std::begin(wordings), std::end(wordings), [&](const wording& each) {
            return each.words == words && std::find(names.begin(), names.end(), each.option) != names.end();
        });
        if (own != std::end(wordings))
            one.help = own->help;
        if (one.help != left_out)
            options.push_back(one);
    }
    return options;
}
