// A device-identification daemon that sends a list of devices.

#include "fuzz/target.h"

namespace {

size_t count_devices(const std::vector<fuzz::piece>& sent)
{
    size_t count = 0;
    while (count < sent.size() && sent[count].whole && fuzz::value_at(sent[count].data, 384) != -1)
        count++;
    return count;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    const bool by_ip = input.byte() % 2 != 0;
    fuzz::machine machine(input);
    utm_device* const list = by_ip ? utm_devid_get_device_list_by_ip("192.168.1.5") : utm_devid_get_device_list();
    const size_t devices = count_devices(machine.sent());
    fuzz::require((list != nullptr) == (devices != 0), "an empty list is null");
    if (list == nullptr)
        return 0;
    size_t at = 0;
    for (const utm_device* device = list->next; device != list; device = device->next, at++) {
        fuzz::require(at < devices &&
                          memcmp(&device->record, machine.sent()[at].data.data() + 24, sizeof device->record) == 0,
                      "a device is what the daemon sent");
    }
    fuzz::require(at == devices, "no device is missing");
    utm_devid_free_device_list(list);
    return 0;
}
