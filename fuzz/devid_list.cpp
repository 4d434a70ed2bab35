// A device-identification daemon that sends a list of devices, to a gateway with addresses of its own.

#include "fuzz/target.h"

#include <netinet/in.h>

namespace {

constexpr size_t device_at = 24;
constexpr size_t result_at = 384;
constexpr uint8_t wanted[] = {192, 168, 1, 5};

// As the kernel tells it, and no byte longer: an IPv4 or IPv6 address, one of another family, or none.
fuzz::bytes take_address(fuzz::input& input)
{
    constexpr struct {
        sa_family_t family;
        size_t size;
        size_t offset; // of the address
        size_t length;
    } kinds[] = {
        {AF_INET, sizeof(sockaddr_in), offsetof(sockaddr_in, sin_addr), 4},
        {AF_INET6, sizeof(sockaddr_in6), offsetof(sockaddr_in6, sin6_addr), 16},
        {AF_PACKET, sizeof(sa_family_t), sizeof(sa_family_t), 0},
    };
    const size_t chosen = input.byte() % (std::size(kinds) + 1);
    if (chosen == std::size(kinds))
        return {};
    const auto& kind = kinds[chosen];
    fuzz::bytes address(kind.size);
    memcpy(address.data(), &kind.family, sizeof kind.family);
    const fuzz::bytes given = input.take(kind.length);
    std::copy(given.begin(), given.end(), address.begin() + static_cast<long>(kind.offset));
    return address;
}

bool is_wanted(const fuzz::bytes& address)
{
    return address.size() == sizeof(sockaddr_in) && std::equal(std::begin(wanted), std::end(wanted), &address[4]);
}

std::vector<fuzz::bytes> take_addresses(fuzz::input& input, size_t count)
{
    std::vector<fuzz::bytes> addresses;
    while (addresses.size() < count)
        addresses.push_back(take_address(input));
    return addresses;
}

// What stands for the gateway itself: zeros, but for this.
fuzz::bytes gateway_record()
{
    fuzz::bytes record(sizeof(utm_devid_message));
    memcpy(record.data() + device_at + 97, "HomeGW", 6);
    memcpy(record.data() + device_at + 193, "Gateway", 7);
    record[device_at + 332] = 2;
    return record;
}

void check_devices(utm_device* list, const std::vector<fuzz::bytes>& records)
{
    fuzz::require((list != nullptr) == !records.empty(), "an empty list is null");
    if (list == nullptr)
        return;
    fuzz::require_entries(list, records, [](utm_device& device, const fuzz::bytes& record) {
        memcpy(&device.record, record.data() + device_at, sizeof device.record);
    });
    utm_devid_free_device_list(list);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    const uint8_t how = input.byte();
    const bool by_ip = how % 2 != 0;
    const std::vector<fuzz::bytes> addresses = take_addresses(input, how / 2 % 4);
    fuzz::machine machine(input);
    machine.put_addresses(addresses);
    utm_device* const list = by_ip ? utm_devid_get_device_list_by_ip("192.168.1.5") : utm_devid_get_device_list();
    const std::vector<fuzz::piece>& sent = machine.daemon().sent();
    const bool empty = !fuzz::records_with(sent, result_at, -1).empty();
    if (by_ip && empty && std::any_of(addresses.begin(), addresses.end(), is_wanted))
        check_devices(list, {gateway_record()});
    else
        check_devices(list, fuzz::records_before(sent, result_at, -1));
    return 0;
}
