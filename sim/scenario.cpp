#include "sim/scenario.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <exception>
#include <fstream>

namespace sim {

namespace {

const std::string& address_from(const std::string& text, const std::string& where)
{
    uint8_t address[16];
    if (inet_pton(AF_INET, text.c_str(), address) != 1 && inet_pton(AF_INET6, text.c_str(), address) != 1)
        throw input_error(where + ": \"" + text + "\" is no IP address");
    return text;
}

std::vector<std::string> addresses_from(const json& value, const std::string& where)
{
    std::vector<std::string> addresses;
    for (const json& address : array_at(value, where))
        addresses.push_back(address_from(text_at(address, where), where));
    return addresses;
}

std::vector<fault> faults_from(const json& value, const std::string& where)
{
    std::vector<fault> faults;
    for (const json& text : array_at(value, where)) {
        try {
            faults.push_back(fault_from(text_at(text, where)));
        } catch (const input_error& error) {
            throw input_error(where + ": " + error.what());
        }
    }
    return faults;
}

daemon_setup setup_from(const daemon_kind& kind, const json& value, const std::string& where)
{
    daemon_setup setup;
    json_object object(value, where);
    if (const json* state = object.find("state")) {
        kind.make_service()->load(*state, object.where("state"));
        setup.state = *state;
    }
    if (const json* faults = object.find("faults"))
        setup.faults = faults_from(*faults, object.where("faults"));
    object.finish();
    return setup;
}

} // namespace

scenario scenario_from(const json& value, const std::string& name)
{
    scenario result;
    json_object object(value, name);
    if (const json* addresses = object.find("addresses"))
        result.addresses = addresses_from(*addresses, object.where("addresses"));
    for (const daemon_kind& kind : daemon_kinds()) {
        if (const json* setup = object.find(kind.name))
            result.daemons[kind.name] = setup_from(kind, *setup, object.where(kind.name));
    }
    object.finish();
    return result;
}

scenario read_scenario(const std::string& path)
{
    std::ifstream file(path);
    if (!file)
        throw input_error(path + ": " + strerror(errno));
    json value;
    try {
        value = json::parse(file);
    } catch (const std::exception& error) {
        throw input_error(path + ": " + error.what());
    }
    return scenario_from(value, path);
}

void add_fault(scenario& scenario, const std::string& text)
{
    const size_t colon = text.find(':');
    const std::string name = text.substr(0, colon);
    if (colon == std::string::npos)
        throw input_error("fault \"" + text + "\": DAEMON:CODE:KIND[=VALUE][:COUNT] is expected");
    scenario.daemons[daemon_named(name).name].faults.push_back(fault_from(text.substr(colon + 1)));
}

} // namespace sim
