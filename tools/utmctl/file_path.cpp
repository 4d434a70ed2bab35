#include "tools/utmctl/file_path.h"

#include "operations/text.h"
#include "tools/utmctl/outcome.h"
#include "tools/utmctl/text_argument.h"

#include <filesystem>

namespace {

constexpr size_t longest_path = 127;

} // namespace

std::string path_of(const std::string& text)
{
    std::error_code unknown_folder;
    return std::filesystem::absolute(text, unknown_folder).lexically_normal();
}

std::string wrong_path(const std::string& text, size_t most)
{
    const std::string path = path_of(text);
    if (text.empty() || text.ends_with('/') || path.empty())
        return in_quotes(text) + " is not the path of a file";
    return wrong_text(path, most);
}

std::string check_shell_path(const std::string& text)
{
    const std::string path = path_of(text);
    const std::string wrong = wrong_path(text, longest_path);
    if (!wrong.empty() || path.find_first_not_of(operations::harmless_to_shells) == std::string::npos)
        return wrong;
    return in_quotes(path) + " has characters that a shell may interpret; letters, digits and /._-+,:@%= are safe";
}
