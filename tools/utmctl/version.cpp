#include "tools/utmctl/arguments.h"
#include "tools/utmctl/build_note.h"
#include "tools/utmctl/families.h"

namespace {

json about(const build_note& note)
{
    return {{"version", note.version}, {"key_file", note.key_file}, {"build", note.build}};
}

outcome show_version(const request&)
{
    const build_note tool = tool_build();
    const std::optional<build_note> library = library_build();
    return {
        .result = {{"version", tool.version}, {"tool", about(tool)}, {"library", library ? about(*library) : json()}},
        .lines = {"utmctl " + tool.version, "libkqutm " + (library ? library->version : "of an unknown version")}};
}

constexpr command commands[] = {
    {"", {}, show_version, "print the versions of the command and the library"},
};

} // namespace

constinit const family version_family = {"version", "the versions of the command and the library", commands};
