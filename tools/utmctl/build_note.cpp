#include "tools/utmctl/build_note.h"

#include <algorithm>
#include <elf.h>
#include <link.h>
#include <string_view>

using namespace std::literals;

namespace {

constexpr std::string_view owner = "kqutm\0"sv;
constexpr uint32_t version_type = 1;

// Takes what stands before the next zero byte off the front of text.
std::string next(std::string_view& text)
{
    const std::string_view taken = text.substr(0, text.find('\0'));
    text.remove_prefix(std::min(text.size(), taken.size() + 1));
    return std::string(taken);
}

build_note parse(std::string_view text)
{
    build_note note;
    note.version = next(text);
    note.key_file = next(text);
    note.build = next(text);
    return note;
}

size_t padded(size_t size)
{
    return (size + 3) / 4 * 4;
}

std::optional<build_note> find_in(std::string_view notes)
{
    ElfW(Nhdr) head;
    while (notes.size() >= sizeof head) {
        notes.copy(reinterpret_cast<char*>(&head), sizeof head);
        notes.remove_prefix(sizeof head);
        const size_t size = padded(head.n_namesz) + padded(head.n_descsz);
        if (size > notes.size())
            break;
        if (head.n_type == version_type && notes.substr(0, head.n_namesz) == owner)
            return parse(notes.substr(padded(head.n_namesz), head.n_descsz));
        notes.remove_prefix(size);
    }
    return std::nullopt;
}

int look_into(dl_phdr_info* file, size_t, void* found)
{
    auto& note = *static_cast<std::optional<build_note>*>(found);
    for (int i = 0; i < file->dlpi_phnum && !note; i++) {
        const ElfW(Phdr)& segment = file->dlpi_phdr[i];
        if (segment.p_type == PT_NOTE)
            note = find_in({reinterpret_cast<const char*>(file->dlpi_addr + segment.p_vaddr), segment.p_memsz});
    }
    return note ? 1 : 0;
}

} // namespace

build_note tool_build()
{
    return {KQUTM_VERSION, KQUTM_IPC_KEY_FILE, KQUTM_BUILD};
}

std::optional<build_note> library_build()
{
    std::optional<build_note> note;
    dl_iterate_phdr(look_into, &note);
    return note;
}
