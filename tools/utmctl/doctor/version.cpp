#include "tools/utmctl/doctor/checks.h"

#include "tools/utmctl/build_note.h"

// Tool and library, which may have come by different ways.
namespace doctor {

findings check_versions(const examination&)
{
    const build_note tool = tool_build();
    const std::optional<build_note> library = library_build();
    const std::string subject = "utmctl " + tool.version + " runs with a library ";
    const std::string remedy = "install utmctl and library from one version";
    if (!library)
        return {{severity::warning, subject + "that does not tell its version", remedy}};
    if (library->version != tool.version)
        return {{severity::warning, subject + "of version " + printable(library->version), remedy}};
    if (library->key_file != tool.key_file)
        return {
            {severity::error,
             subject + "that has another key file, " + printable(library->key_file) + " instead of " + tool.key_file,
             remedy}};
    return {};
}

} // namespace doctor
