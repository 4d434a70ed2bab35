#pragma once

namespace fuzz {

class machine;

// The machine of the moment; null outside the library, where calls go to libc.
extern machine* current;

} // namespace fuzz
