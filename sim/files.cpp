#include "sim/files.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>

namespace sim {

namespace {

bool write_to(const std::string& path, const std::string& text, std::ios::openmode mode)
{
    std::ofstream file(path, mode);
    file << text << std::flush;
    return file.good();
}

} // namespace

bool can_read(const std::string& path)
{
    return access(path.c_str(), R_OK) == 0;
}

bool append_to(const std::string& path, const std::string& text)
{
    return write_to(path, text, std::ios::app);
}

bool write_anew(const std::string& path, const std::string& text)
{
    std::error_code ignored;
    std::filesystem::create_directory(std::filesystem::path(path).parent_path(), ignored);
    return write_to(path, text, std::ios::trunc);
}

std::string pretty(const json& value)
{
    return value.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

std::optional<int> take_number(const char* path)
{
    std::unique_ptr<FILE, decltype(&fclose)> file(fopen(path, "re"), fclose);
    if (!file)
        return {};
    flock(fileno(file.get()), LOCK_EX);
    int number = 0;
    const bool is_number = fscanf(file.get(), "%d", &number) == 1;
    unlink(path);
    return is_number ? std::optional(number) : std::nullopt;
}

} // namespace sim
