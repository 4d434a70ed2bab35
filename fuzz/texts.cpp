// A caller with a text of its own for every operation that takes one.

#include "kqutm/registry.h"

#include "fuzz/target.h"

#include <memory>

namespace {

// How a text travels: at which byte of the request, and what becomes of one that is too long for its field.
enum class overflow {
    cut,  // and terminated
    fill, // and not terminated
    refuse
};

struct operation {
    int32_t (*call)(const char* text);
    size_t offset;
    size_t width;
    overflow too_long;
    bool refuses_empty = false;
};

template <auto list> int32_t null_is_failure(const char* text)
{
    return list(text) == nullptr ? -1 : 0;
}

using fuzz::bytes;

const operation operations[] = {
    {utm_cf_add_trusted_url, 8, 2048, overflow::refuse},
    {utm_cf_del_trusted_url, 8, 2048, overflow::refuse},
    {utm_cf_add_forbidden_url, 8, 2048, overflow::refuse},
    {utm_cf_del_forbidden_url, 8, 2048, overflow::refuse},
    {[](const char* text) { return utm_cf_policy_add_trusted_domain(20, text); }, 12, 512, overflow::refuse},
    {[](const char* text) { return utm_cf_policy_del_trusted_domain(20, text); }, 12, 512, overflow::refuse},
    {[](const char* text) { return utm_cf_policy_add_forbidden_domain(20, text); }, 12, 512, overflow::refuse},
    {[](const char* text) { return utm_cf_policy_del_forbidden_domain(20, text); }, 12, 512, overflow::refuse},
    {[](const char* text) { return utm_cf_policy_add_domain_keyword(20, text); }, 12, 512, overflow::refuse},
    {[](const char* text) { return utm_cf_policy_del_domain_keyword(20, text); }, 12, 512, overflow::refuse},
    {utm_app_import_statistics, 8, 128, overflow::refuse},
    {utm_app_export_statistics, 8, 128, overflow::refuse},
    {utm_cf_dump_all, 8, 128, overflow::refuse},
    {utm_app_dump_all, 8, 128, overflow::refuse},
    {utm_app_update_signature, 8, 128, overflow::fill},
    {[](const char* text) { return utm_ips_set_whitelist(text, 1); }, 20, 11, overflow::cut},
    {[](const char* text) { return utm_ips_set_blacklist(text, 1); }, 20, 11, overflow::cut},
    {utm_ips_update_signature, 56, 256, overflow::cut},
    {[](const char* text) { return utm_devid_set_ignore_iface(text, 1); }, 24 + 177, 16, overflow::cut, true},
    {null_is_failure<utm_devid_get_device_list_by_ip>, 24 + 161, 16, overflow::cut},
    {null_is_failure<utm_devid_get_device_list_by_interface>, 24 + 177, 16, overflow::cut},
    {null_is_failure<utm_devid_get_device_list_by_mac>, 24, 32, overflow::cut},
    {[](const char* text) { return utm_av_set_whitelist(text, 1); }, 20, 33, overflow::fill, true},
    {utm_ir_load_db, 4, 128, overflow::fill},
};

bool is_refused(const operation& operation, size_t length)
{
    return length == 0 ? operation.refuses_empty : length >= operation.width && operation.too_long == overflow::refuse;
}

// Nobody answers, so nothing succeeds.
void check(const operation& operation, const bytes& text, const fuzz::machine& machine)
{
    const auto* const given = reinterpret_cast<const char*>(text.data());
    fuzz::require(operation.call(given) == -1, "no success that the daemon did not send");
    const std::vector<bytes>& requests = machine.daemon().requests();
    const size_t length = strlen(given);
    fuzz::require(requests.size() == (is_refused(operation, length) ? 0 : 1),
                  "a text is sent, or refused where it is too long or empty");
    if (requests.empty())
        return;
    const size_t fits = operation.too_long == overflow::fill ? operation.width : operation.width - 1;
    fuzz::require_text(requests.front(), operation.offset, operation.width,
                       bytes(text.begin(), text.begin() + static_cast<long>(std::min(length, fits))));
}

void check_uuid(const char* text, fuzz::machine& machine)
{
    bytes segment(UTM_UUID_SIZE);
    machine.put_segment(segment.data());
    char uuid[UTM_UUID_SIZE];
    const bool kept = utm_uuid_set(text) == 0 && *text != '\0';
    fuzz::require(kept == (*text != '\0' && strlen(text) < UTM_UUID_SIZE), "a UUID fits or is refused");
    fuzz::require(!kept || (utm_uuid_get(uuid, sizeof uuid) == 0 && strcmp(uuid, text) == 0), "a UUID comes back");
}

// What somebody else wrote into the common segment may fill it without an end.
void check_endless_uuid(const std::string& text, fuzz::machine& machine)
{
    bytes segment(UTM_UUID_SIZE);
    for (size_t i = 0; i < segment.size(); i++)
        segment[i] = text.empty() ? 'x' : static_cast<uint8_t>(text[i % text.size()]);
    machine.put_segment(segment.data());
    char uuid[UTM_UUID_SIZE];
    fuzz::require(utm_uuid_get(uuid, sizeof uuid) == 0, "a UUID without an end is one");
    fuzz::require(memcmp(uuid, segment.data(), 255) == 0 && uuid[255] == '\0', "it is cut and ended");
}

// The path of a log that is too large reaches the shell, as far as a command has room.
void check_log_path(const std::string& path, fuzz::machine& machine)
{
    machine.put_log_size(5242881);
    utm_log(path.c_str(), "text\n");
    machine.put_log_size(0);
    fuzz::require(machine.commands().back() == ("/bin/mv " + path + " " + path + "2").substr(0, 511),
                  "a command is cut at its buffer");
}

void check_log(const std::string& text, const fuzz::machine& machine)
{
    utm_log(UTM_IPS_LOG, "%s\n", text.c_str());
    fuzz::require(machine.written(UTM_IPS_LOG) == std::vector{text + '\n'}, "a line is written as it is");
}

void check_redirect_page(const std::string& text, const fuzz::machine& machine)
{
    const bool fits = text.size() <= 1023;
    fuzz::require(utm_cf_redirect_page(text.c_str()) == (fits ? 0 : -1), "a page fits or is refused");
    const std::string page = text.empty() ? std::string(1, '\0') : text;
    fuzz::require(machine.written(UTM_CF_KERNEL_REDIRECT_URL) ==
                      (fits ? std::vector{page} : std::vector<std::string>()),
                  "a page is written as it is, and an empty one as a zero");
}

void check_dump(const std::string& path, const fuzz::machine& machine)
{
    dump_cf_activate(path.c_str());
    fuzz::require(machine.commands().back() == ("echo >> " + path).substr(0, 2047), "a command is cut at its buffer");
}

void check_command(const std::string& command, const fuzz::machine& machine)
{
    char output[200];
    utm_getSystemCommandResult(command.c_str(), output, sizeof output, 1);
    fuzz::require(machine.commands().back() == command, "a command is run as it is");
    fuzz::require(*output == '\0', "a command that prints nothing gives an empty text");
}

// Texts that go nowhere else than to a shell, the log, the kernel or the common segment.
void check_others(const char* text, fuzz::machine& machine)
{
    check_log(text, machine);
    check_redirect_page(text, machine);
    check_dump(text, machine);
    check_log_path(text, machine);
    check_command(text, machine);
    check_uuid(text, machine);
    check_endless_uuid(text, machine);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    const size_t chosen = input.byte() % (std::size(operations) + 1);
    bytes text = input.rest();
    text.push_back(0);
    const auto ids = std::make_unique<utm_id_registry>();
    ids->profiles[3] = ids->cf_policies[5] = ids->app_policies[6] = 7; // a dump has something to tell
    fuzz::machine machine;
    machine.put_segment(ids.get());
    machine.put_file(UTM_ID_MARKER, {});
    if (chosen == std::size(operations))
        check_others(reinterpret_cast<const char*>(text.data()), machine);
    else
        check(operations[chosen], text, machine);
    return 0;
}
