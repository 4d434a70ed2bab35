// Which devices the gateway knows, and which profile each new one gets: the library through its C++20 layer.
#include <kqutm.hpp>

#include <cstdio>
#include <string>

namespace {

int fail(const char* what, const kqutm::cause& why)
{
    std::fprintf(stderr, "%s: %s\n", what, why.code().message().c_str());
    return 1;
}

int show_devices()
{
    const auto devices = kqutm::devid::devices();
    if (!devices)
        return fail("cannot list the devices", devices.error());
    for (const utm_device& device : *devices)
        std::printf("%s %s\n", std::string(kqutm::text_of(device.record.mac)).c_str(),
                    std::string(kqutm::text_of(device.record.name)).c_str());
    if (devices->broken_off())
        return fail("there may be more", *devices->broken_off());
    return 0;
}

// Puts every device that the engine knows into a profile of its own.
int adopt_devices()
{
    const auto created = kqutm::profiles::create(*kqutm::profile_id::of(7));
    if (!created)
        return fail("cannot create a profile", created.error());
    const auto devices = kqutm::devid::devices();
    if (!devices)
        return fail("cannot list the devices", devices.error());
    for (const utm_device& device : *devices) {
        const auto mac = kqutm::mac_address::parse(kqutm::text_of(device.record.mac));
        if (!mac)
            continue; // the daemon defines the text
        if (const auto added = kqutm::profiles::add_device(created->id, *mac); !added)
            return fail("cannot add a device", added.error());
        std::printf("%s is in profile %d\n", mac->text().c_str(), created->id.number());
    }
    return 0;
}

} // namespace

int main()
{
    const int shown = show_devices();
    return shown != 0 ? shown : adopt_devices();
}
