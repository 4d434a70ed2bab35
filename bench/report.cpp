#include "bench/report.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

namespace bench {

namespace {

// The plot's scale: a ratio of 0.9 stands at the left of the bars, 1.5 at their right.
constexpr double left = 220;
constexpr double width = 600;
constexpr double least = 0.9;
constexpr double most = 1.5;
constexpr double row_height = 24;

double at(double ratio)
{
    return left + width * (std::clamp(ratio, least, most) - least) / (most - least);
}

void write_line(std::ostream& out, double x1, double x2, double y1, double y2, const char* color)
{
    out << "<line x1='" << x1 << "' x2='" << x2 << "' y1='" << y1 << "' y2='" << y2 << "' stroke='" << color << "'/>\n";
}

void write_row(std::ostream& out, const figures& row, double top)
{
    const double middle = top + row_height / 2;
    out << "<text x='" << left - 8 << "' y='" << middle + 4 << "' text-anchor='end'>" << row.name << "</text>\n";
    write_line(out, at(row.took.ratio - row.took.spread), at(row.took.ratio + row.took.spread), middle, middle, "gray");
    write_line(out, at(row.goal), at(row.goal), top + 4, top + row_height - 4, "firebrick");
    out << "<circle cx='" << at(row.took.ratio) << "' cy='" << middle << "' r='4' fill='"
        << (row.met() ? "seagreen" : "firebrick") << "'/>\n";
}

// A tenth is told; nothing where there is no such figure.
std::string unless_none(double value)
{
    char text[32];
    snprintf(text, sizeof text, "%.1f", value);
    return value == 0 ? "" : text;
}

} // namespace

void print_table(const std::vector<figures>& rows)
{
    printf("| %-28s | %12s | %12s | %6s | %6s | %5s |\n", "Operation", "floor, us", "library, us", "ratio", "spread",
           "goal");
    printf("|:-----------------------------|-------------:|-------------:|-------:|-------:|------:|\n");
    for (const figures& row : rows)
        printf("| %-28s | %12.2f | %12.2f | %6.3f | %6.3f | %5.2f |\n", row.name.c_str(), row.took.floor / 1000,
               row.took.library / 1000, row.took.ratio, row.took.spread, row.goal);
}

void print_limits(const std::vector<absolute>& rows)
{
    if (rows.empty())
        return;
    printf("\n| %-38s | %9s | %9s | %9s |\n", "What", "floor", "library", "limit");
    printf("|:---------------------------------------|----------:|----------:|----------:|\n");
    for (const absolute& row : rows)
        printf("| %-38s | %9s | %9s | %9s |\n", row.name.c_str(), unless_none(row.floor).c_str(),
               unless_none(row.library).c_str(), unless_none(row.limit).c_str());
}

bool all_met(const std::vector<figures>& ratios, const std::vector<absolute>& limits)
{
    size_t missed = 0;
    const auto look = [&missed](const auto& rows) {
        for (const auto& row : rows) {
            if (!row.met())
                fprintf(stderr, "%s%s", missed++ == 0 ? "Missed: " : ", ", row.name.c_str());
        }
    };
    look(ratios);
    look(limits);
    if (missed != 0)
        fprintf(stderr, "\n");
    return missed == 0;
}

void write_plot(const std::string& path, const std::vector<figures>& rows)
{
    const double height = row_height * static_cast<double>(rows.size() + 1);
    std::ofstream out(path);
    out << "<svg xmlns='http://www.w3.org/2000/svg' width='" << left + width + 20 << "' height='" << height
        << "' font-family='sans-serif' font-size='13'>\n<rect width='100%' height='100%' fill='white'/>\n";
    for (const double ratio : {0.9, 1.0, 1.1, 1.2, 1.3, 1.4, 1.5}) {
        write_line(out, at(ratio), at(ratio), 0, height - row_height, "lightgray");
        out << "<text x='" << at(ratio) << "' y='" << height - 6 << "' text-anchor='middle'>" << ratio << "</text>\n";
    }
    double top = 0;
    for (const figures& row : rows) {
        write_row(out, row, top);
        top += row_height;
    }
    out << "</svg>\n";
}

} // namespace bench
