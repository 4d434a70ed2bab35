#include "tools/utmctl/file_path.h"

#include "tools/utmctl/outcome.h"

#include <filesystem>

namespace {

constexpr size_t longest_path = 127;
constexpr char harmless[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+,:@%=";

std::string absolute(const std::string& text)
{
    std::error_code unknown_folder;
    return std::filesystem::absolute(text, unknown_folder).lexically_normal();
}

} // namespace

std::string check_file_path(const std::string& text)
{
    const std::string path = absolute(text);
    if (text.empty() || text.ends_with('/') || path.empty())
        return in_quotes(text) + " is not the path of a file";
    if (path.find_first_not_of(harmless) != std::string::npos)
        return in_quotes(path) + " has characters that a shell may interpret; letters, digits and /._-+,:@%= are safe";
    if (path.size() > longest_path)
        return "a path of " + std::to_string(path.size()) + " characters is too long, " + std::to_string(longest_path) +
               " is the most";
    return "";
}

std::string path_of(const std::string& text)
{
    return absolute(text);
}
