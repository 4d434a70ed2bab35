#include "tests/sandbox/files.h"
#include "tests/utmctl/run.h"

#include <cstring>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {

bool has(const std::string& page, const std::ostringstream& text)
{
    return page.find(text.str()) != std::string::npos;
}

TEST(page, it_lists_every_exit_status)
{
    const std::string page = content_of(KQUTM_UTMCTL_PAGE);
    const auto help = result_of("help");
    for (const auto& row : help["exit_statuses"]) {
        std::ostringstream cells;
        cells << "| " << row["exit"].get<int>() << " | `" << row["status"].get<std::string>() << "` |";
        EXPECT_TRUE(has(page, cells)) << cells.str();
    }
}

TEST(page, it_lists_every_command)
{
    const std::string page = content_of(KQUTM_UTMCTL_PAGE);
    const auto help = result_of("help");
    for (const auto& row : help["commands"]) {
        std::ostringstream cell;
        cell << "`" << row["usage"].get<std::string>().substr(strlen("utmctl ")) << "`";
        EXPECT_TRUE(has(page, cell)) << cell.str();
    }
}

TEST(page, it_names_every_function_without_a_command)
{
    const std::string page = content_of(KQUTM_UTMCTL_PAGE);
    const std::string list = page.substr(page.find("Every operation has a command of its own."));
    for (const auto& row : result_of("describe")) {
        const std::string name = "`" + row["function"].get<std::string>() + "`";
        EXPECT_EQ(list.find(name) != std::string::npos, row["commands"].empty()) << name;
    }
}

} // namespace
