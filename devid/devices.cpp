#include "devid/devid.h"

#include "common/list.h"
#include "common/log.h"
#include "common/text.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <memory>
#include <netinet/in.h>

namespace {

struct free_devices {
    void operator()(utm_device* list) const { utm_devid_free_device_list(list); }
};
using device_list = std::unique_ptr<utm_device, free_devices>;

// What a list request brought. Without a list, the reason is logged.
struct answer {
    device_list list;
    bool complete = false; // the daemon said that this is all
};

// Deliberate: a device for which memory is short is left out, and the stream goes on.
void append_device(utm_device* list, const utm_device_record& record, int& cause)
{
    auto* device = allocate_node<utm_device>(); // which the record and the links fill
    if (device == nullptr) {
        cause = errno;
        return;
    }
    device->record = record;
    list_insert(device, list);
}

// Receives devices until the daemon says that there are no more; true when it did. errno is 0 then, or tells that
// devices were left out.
bool receive_devices(const unique_fd& devid, utm_device* list, const char* operation)
{
    int cause = 0;
    for (;;) {
        utm_devid_message record;
        ssize_t size = receive_record(devid, record, &utm_devid_message::result, -1);
        if (size < 0)
            log_at_line(engines::devid, operation, "recv fail\n");
        if (size < static_cast<ssize_t>(sizeof record))
            return false;
        if (record.result == -1)
            break;
        append_device(list, record.device, cause);
    }
    errno = cause;
    return true;
}

constexpr utm_devid_message all_devices = {.code = UTM_DEVID_GET_DEVICE_LIST};

answer ask_for_devices(const utm_devid_message& request, const char* operation)
{
    unique_fd devid = request_from_devid(request, operation);
    if (devid.get() < 0)
        return {};
    device_list list(create_list<utm_device>());
    if (list == nullptr) {
        log_at_line(engines::devid, operation, "list init fail\n");
        return {};
    }
    bool complete = receive_devices(devid, list.get(), operation);
    return {static_cast<device_list&&>(list), complete};
}

bool is_empty(const device_list& list)
{
    return list->next == list.get();
}

// Deliberate: an empty list is returned as null.
utm_device* hand_over(device_list list)
{
    return list == nullptr || is_empty(list) ? nullptr : list.release();
}

utm_device* query_devices(const utm_devid_message& request, const char* operation = __builtin_FUNCTION())
{
    return hand_over(ask_for_devices(request, operation).list);
}

struct free_interfaces {
    void operator()(ifaddrs* list) const { freeifaddrs(list); }
};

const void* address_of(const sockaddr* address)
{
    if (address != nullptr && address->sa_family == AF_INET)
        return &reinterpret_cast<const sockaddr_in*>(address)->sin_addr;
    if (address != nullptr && address->sa_family == AF_INET6)
        return &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
    return nullptr;
}

// Whether ip is an address of the gateway itself, as text. Keeps errno, unless the addresses cannot be told.
bool is_own_address(const char* ip)
{
    const int cause = errno;
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0)
        return false;
    std::unique_ptr<ifaddrs, free_interfaces> interfaces(first);
    bool found = false;
    for (const ifaddrs* entry = first; entry != nullptr && !found; entry = entry->ifa_next) {
        const void* address = address_of(entry->ifa_addr);
        if (address == nullptr)
            continue;
        char text[INET6_ADDRSTRLEN];
        if (inet_ntop(entry->ifa_addr->sa_family, address, text, sizeof text) == nullptr)
            return false;
        utm_log(UTM_DEVID_LOG, "remote_ip: %s, address: %s\n", ip, text);
        found = strcmp(ip, text) == 0;
    }
    errno = cause;
    return found;
}

bool append_gateway(utm_device* list)
{
    utm_device* gateway = create_dev();
    if (gateway == nullptr)
        return false;
    put_text(gateway->record.name, "HomeGW");
    put_text(gateway->record.type_name, "Gateway");
    gateway->record.kind = UTM_DEVICE_KIND_GATEWAY;
    list_insert(gateway, list);
    return true;
}

} // namespace

UTM_API utm_device* create_dev(void)
{
    return create_node<utm_device>();
}

UTM_API void utm_devid_free_device_list(utm_device* list)
{
    if (list == nullptr)
        return;
    for (utm_device* last = list->prev; last != list;) {
        utm_device* previous = last->prev;
        list_remove(last);
        free(last);
        last = previous;
    }
    free(list);
}

UTM_API utm_device* utm_devid_get_device_list(void)
{
    return query_devices(all_devices);
}

UTM_API utm_device* utm_devid_get_device_list_by_ip(const char* ip)
{
    utm_devid_message request = all_devices;
    put_text(request.device.ip, ip);
    answer found = ask_for_devices(request, __func__);
    if (!found.complete || !is_empty(found.list))
        return hand_over(static_cast<device_list&&>(found.list));
    if (!is_own_address(ip))
        log_at_line(engines::devid, __func__, "this ip address is not one of device\n");
    else if (!append_gateway(found.list.get()))
        log_at_line(engines::devid, __func__, "malloc fail\n");
    return hand_over(static_cast<device_list&&>(found.list));
}

UTM_API utm_device* utm_devid_get_device_list_by_interface(const char* ifname)
{
    utm_devid_message request = all_devices;
    put_text(request.device.interface_name, ifname);
    return query_devices(request);
}

UTM_API utm_device* utm_devid_get_device_list_by_mac(const char* mac)
{
    utm_devid_message request = all_devices;
    put_text(request.device.mac, mac);
    return query_devices(request);
}
