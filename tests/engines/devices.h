#pragma once

#include "kqutm/daemon.h"

#include "tests/engines/engines.h"

#include <memory>

// Device streams as a daemon sends them, and the lists made of them.

// A record of a stream that carries a device of this name; all the daemon's own bytes are rubbish.
inline sim::bytes device(const std::string& name)
{
    sim::bytes record = devid_reply(0);
    put_text(record, 24 + 97, name + '\0');
    return record;
}

inline sim::bytes end_marker()
{
    return devid_reply(-1);
}

struct free_devices {
    void operator()(utm_device* list) const { utm_devid_free_device_list(list); }
};
using devices = std::unique_ptr<utm_device, free_devices>;

// The names of the devices in a list, in order; none for null.
inline std::vector<std::string> names_of(const devices& list)
{
    std::vector<std::string> names;
    if (list == nullptr)
        return names;
    for (const utm_device* device : nodes_of(list.get()))
        names.emplace_back(device->record.name);
    return names;
}

using names = std::vector<std::string>;
