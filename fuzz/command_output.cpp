// A command whose output is collected.

#include "fuzz/target.h"

namespace {

// What one reading takes: a line, or as much of it as fits. A zero in it ends its text.
std::string take_line(const fuzz::bytes& output, size_t& at)
{
    constexpr size_t longest = 127;
    const auto first = output.begin() + static_cast<long>(at);
    const auto last = first + static_cast<long>(std::min(longest, output.size() - at));
    const auto newline = std::find(first, last, '\n');
    const std::string line(first, newline == last ? last : newline + 1);
    at += line.size();
    return line.c_str();
}

// Lines as long as a whole one still fits, and then as much of one as does. A small buffer gets one.
std::string collected(const fuzz::bytes& output, size_t room)
{
    constexpr size_t small = 128;
    std::string text;
    for (size_t at = 0; at < output.size();) {
        const bool last = room <= small || text.size() + small > room;
        text += take_line(output, at);
        text = text.substr(0, room - 1);
        if (last)
            break;
    }
    return text;
}

std::string expected_text(const fuzz::bytes& output, size_t room, bool strip_newline)
{
    std::string text = collected(output, room);
    if (strip_newline && !text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    const int room = input.byte() + input.byte() * 4;
    const bool strip_newline = input.byte() % 2 != 0;
    fuzz::machine machine;
    machine.put_output(input.rest());
    std::vector<char> out(static_cast<size_t>(room), 'x');
    utm_getSystemCommandResult("command", out.data(), room, strip_newline ? 1 : 0);
    if (room == 0)
        return 0;
    fuzz::require(memchr(out.data(), 0, out.size()) != nullptr, "the text ends in its buffer");
    fuzz::require(out.data() == expected_text(machine.output(), out.size(), strip_newline),
                  "the text is the beginning of the output");
    return 0;
}
