#pragma once

#include <optional>
#include <string>

// What a build is: of this tool, and of the library that it has loaded, which tells it in the note .note.kqutm of its
// file. The two should be of one version, and have to agree on the key file.
struct build_note {
    std::string version;
    std::string key_file;
    std::string build;
    bool operator==(const build_note&) const = default;
};

build_note tool_build();

// Nothing when the library has no such note.
std::optional<build_note> library_build();
