#include "kqutm/daemon.h"
#include "sim/engine_service.h"
#include "sim/unique_list.h"

#include <algorithm>
#include <fstream>

namespace sim {

namespace {

using interface_name = wire_text<sizeof utm_device_record::interface_name>;

struct device {
    wire_text<sizeof utm_device_record::mac> mac;
    wire_text<sizeof utm_device_record::name> name;
    wire_text<sizeof utm_device_record::ip> ip;
    interface_name interface;
    wire_text<sizeof utm_device_record::type_name> type;
    uint32_t kind = 0;

    static void members(auto& self, auto&& each)
    {
        each("mac", self.mac);
        each("name", self.name);
        each("ip", self.ip);
        each("interface", self.interface);
        each("type", self.type);
        each("kind", self.kind);
    }
};

struct devid_state {
    bool on = false;
    bool debug = false;
    uint32_t cache_size = 10;
    unique_list<interface_name> ignored;
    uint64_t timestamp = 0; // counts the changes of the table
    std::vector<device> devices;

    static void members(auto& self, auto&& each)
    {
        each("on", self.on);
        each("debug", self.debug);
        each("cache_size", self.cache_size);
        each("ignored", self.ignored);
        each("timestamp", self.timestamp);
        each("devices", self.devices);
    }
};

enum ignore_operation : uint32_t {
    ignore = 0,
    heed = 1
};

constexpr uint32_t largest_cache_size = 10;

// Most of its clients take -1 alone for a refusal, so there is one for all causes.
constexpr int32_t refused = -1;
constexpr int32_t end_of_list = -1;

// Where the whole list is shown: a line for each device, ignored ones included.
constexpr char list_file[] = "/tmp/utm_devid_list";

// The device-identification engine.
class devid_service : public engine_service<devid_service, utm_devid_message, devid_state, utm_devid_message,
                                            &utm_devid_message::result> {
public:
    static const code_handler* find(uint32_t code);

    int32_t activate(const utm_devid_message& request, answer_to&) { return switched(state_.on, request.on); }
    int32_t debug(const utm_devid_message& request, answer_to&) { return switched(state_.debug, request.debug); }

    int32_t get_status(const utm_devid_message&, answer_to& answer)
    {
        answer.last.debug = state_.debug;
        answer.last.on = state_.on;
        answer.last.status_word_3 = state_.cache_size;
        return accepted;
    }

    int32_t get_devices(const utm_devid_message& request, answer_to& answer)
    {
        const utm_device_record& filter = request.device;
        for (const device& device : state_.devices) {
            if (!is_ignored(device) && fits(device.ip, filter.ip) && fits(device.mac, filter.mac) &&
                fits(device.interface, filter.interface_name))
                answer.entries.push_back(entry_of(device));
        }
        return end_of_list;
    }

    int32_t set_cache_size(const utm_devid_message& request, answer_to&)
    {
        if (request.cache_size < 1 || request.cache_size > largest_cache_size)
            return refused;
        state_.cache_size = request.cache_size;
        return accepted;
    }

    int32_t flush(const utm_devid_message&, answer_to&)
    {
        state_.devices.clear();
        state_.timestamp++;
        return accepted;
    }

    int32_t get_timestamp(const utm_devid_message&, answer_to& answer)
    {
        answer.last.latest_timestamp = state_.timestamp;
        return accepted;
    }

    int32_t show_all(const utm_devid_message&, answer_to&)
    {
        std::ofstream file(list_file);
        for (const device& device : state_.devices)
            file << to_json(device).dump() << '\n';
        return file.flush() ? accepted : refused;
    }

    int32_t reset(const utm_devid_message&, answer_to&)
    {
        state_ = {.timestamp = state_.timestamp + 1};
        return accepted;
    }

    int32_t set_ignored(const utm_devid_message& request, answer_to&)
    {
        const interface_name name(request.device.interface_name);
        if (name.empty() || request.ignore > heed)
            return refused;
        const bool is_new = request.ignore == ignore ? state_.ignored.add(name) : state_.ignored.remove(name);
        if (!is_new)
            return refused;
        state_.timestamp++;
        return accepted;
    }

private:
    static int32_t switched(bool& state, uint32_t value)
    {
        return switch_to(state, value) == accepted ? accepted : refused;
    }

    bool is_ignored(const device& device) const
    {
        return std::ranges::find(state_.ignored.values(), device.interface) != state_.ignored.values().end();
    }

    template <size_t width> static bool fits(const wire_text<width>& value, const char (&filter)[width])
    {
        const wire_text wanted(filter);
        return wanted.empty() || wanted == value;
    }

    static record entry_of(const device& device)
    {
        utm_devid_message entry = {};
        device.mac.put_into(entry.device.mac);
        device.name.put_into(entry.device.name);
        device.ip.put_into(entry.device.ip);
        device.interface.put_into(entry.device.interface_name);
        device.type.put_into(entry.device.type_name);
        entry.device.kind = device.kind;
        return to_record(entry);
    }
};

using devid = devid_service;

constexpr devid::code_handler handlers[] = {
    {UTM_DEVID_ACTIVATE, &devid::activate},
    {UTM_DEVID_GET_STATUS, &devid::get_status},
    {UTM_DEVID_GET_DEVICE_LIST, &devid::get_devices},
    {UTM_DEVID_CACHE_SET_MAX_SIZE, &devid::set_cache_size},
    {UTM_DEVID_FLUSH_CACHE_LIST, &devid::flush},
    {UTM_DEVID_GET_LATEST_TIMESTAMP, &devid::get_timestamp},
    {UTM_DEVID_DEBUG, &devid::debug},
    {UTM_DEVID_SHOW_ALL_LIST, &devid::show_all},
    {UTM_DEVID_RESET, &devid::reset},
    {UTM_DEVID_SET_IGNORE_IFACE, &devid::set_ignored},
};

const devid_service::code_handler* devid_service::find(uint32_t code)
{
    return find_row(handlers, code);
}

} // namespace

std::unique_ptr<service> make_devid()
{
    return std::make_unique<devid_service>();
}

} // namespace sim
