// What the built library is: a note of its file, which programs find in memory without a call, and tools in the file.

#include <cstdint>

namespace {

// Version, key file and build, each with its zero byte.
constexpr char about[] = KQUTM_VERSION "\0" KQUTM_IPC_KEY_FILE "\0" KQUTM_BUILD;

struct note {
    uint32_t name_size = sizeof name - 2;
    uint32_t about_size = sizeof about;
    uint32_t type = 1;
    char name[8] = "kqutm\0";
    char text[(sizeof about + 3) / 4 * 4] = {};
};

constexpr note filled()
{
    note filled = {};
    for (uint32_t at = 0; at < sizeof about; at++)
        filled.text[at] = about[at];
    return filled;
}

[[gnu::used, gnu::section(".note.kqutm")]] alignas(4) constexpr note note_of_library = filled();

} // namespace
