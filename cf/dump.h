#pragma once

#include "common/text.h"
#include "event/exchange.h"
#include "registry/policies.h"

// The parts of a dump, which are those of content filter and application control alike.

// Begins the file with the date. False when the path is longer than a request carries, or the registry cannot be
// cleared on its first use.
bool begin_dump(const char* path);

// Appends the user profiles with their bound policies, the policies, and an empty line. False when the registry could
// not be locked, attached or unlocked.
bool dump_registry(const char* path, const policy_kind& kind);

// Appends the registry's part, and asks the daemon to append its own.
template <class Event> int32_t finish_dump(uint8_t code, const char* path, const policy_kind& kind)
{
    // Deliberate: a dump that cannot lock, attach or unlock the registry ends there and reports success.
    if (!dump_registry(path, kind))
        return 0;
    Event event = {.code = code};
    put_whole_text(event.body.path, path);
    return tell(event);
}
