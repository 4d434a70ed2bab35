#include "tests/sandbox/files.h"

#include <filesystem>
#include <fstream>
#include <iterator>

bool exists(const std::string& path)
{
    return std::filesystem::exists(path);
}

std::string content_of(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void write_file(const std::string& path, const std::string& content)
{
    std::ofstream(path) << content;
}

void make_sparse_file(const std::string& path, off_t size)
{
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    write_file(path, "");
    std::filesystem::resize_file(path, static_cast<uintmax_t>(size));
}

std::string appcf_log()
{
    return content_of("/tmp/utm_log/utm_libappcf_config_log");
}
