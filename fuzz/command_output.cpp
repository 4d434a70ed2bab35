// A command whose output is collected.

#include "fuzz/target.h"

#include <memory>

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    const int room = input.byte() + input.byte() * 4;
    const int strip_newline = input.byte() % 2;
    fuzz::machine machine(fuzz::input(nullptr, 0));
    machine.put_output(input.rest());
    const auto out = std::make_unique<char[]>(static_cast<size_t>(room));
    utm_getSystemCommandResult("command", out.get(), room, strip_newline);
    fuzz::require(room == 0 || memchr(out.get(), 0, static_cast<size_t>(room)) != nullptr,
                  "the text ends in its buffer");
    return 0;
}
