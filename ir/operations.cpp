#include "ir/ir.h"

#include "common/text.h"

#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace {

bool exchange(const ir_connection& ir, const utm_ir_request& request, utm_ir_reply& reply)
{
    return ir.send(request) && ir.receive(reply);
}

utm_ir_request request_of(utm_ir_code code, uint32_t value = 0, uint16_t second_value = 0)
{
    utm_ir_request request = {.code = code};
    request.body.entry.value = value;
    request.body.entry.second_value = second_value;
    return request;
}

// One request on an established connection: 0, or why it failed.
int32_t ask_ir(const ir_connection& ir, const utm_ir_request& request)
{
    utm_ir_reply reply;
    if (!exchange(ir, request, reply))
        return UTM_IR_NO_EXCHANGE;
    return reply.status == 0 ? 0 : UTM_IR_REFUSED;
}

int32_t ir_command(const utm_ir_request& request)
{
    ir_connection ir;
    return ir.established() ? ask_ir(ir, request) : UTM_IR_NO_CONNECTION;
}

// All operations but the two switches tell no failure from another.
int32_t yes_or_no(int32_t result)
{
    return result == 0 ? 0 : -1;
}

bool is_switch(int32_t value)
{
    return value == 0 || value == 1;
}

// The codes of a switch, and of a list's operation, by the argument's value.
using code_pair = const utm_ir_code[2];
constexpr code_pair activate_codes = {UTM_IR_ACTIVATE_OFF, UTM_IR_ACTIVATE_ON};
constexpr code_pair debug_codes = {UTM_IR_DEBUG_OFF, UTM_IR_DEBUG_ON};
constexpr code_pair whitelist_codes = {UTM_IR_SET_WHITELIST_0, UTM_IR_SET_WHITELIST_1};
constexpr code_pair blacklist_codes = {UTM_IR_SET_BLACKLIST_0, UTM_IR_SET_BLACKLIST_1};

int32_t set_switch(code_pair& codes, int32_t on)
{
    if (!is_switch(on)) {
        errno = EINVAL;
        return UTM_IR_BAD_ARGUMENT;
    }
    return ir_command(request_of(codes[on]));
}

int32_t set_list(code_pair& codes, uint32_t value, uint16_t second_value, int32_t operation)
{
    if (!is_switch(operation))
        return fail(EINVAL);
    return yes_or_no(ir_command(request_of(codes[operation], value, second_value)));
}

// Which steps a flush takes, by its mode.
constexpr bool flushes_first[] = {true, true, false};
constexpr bool flushes_second[] = {true, false, true};

constexpr size_t version_size = 128;

// Deliberate: the version 0.x.0, where x is not 0, reads as none; no other does.
void write_version(char* text, const uint32_t (&version)[3])
{
    const auto [first, second, third] = version;
    if (first == 0 && second != 0 && third == 0)
        snprintf(text, version_size, "none");
    else
        snprintf(text, version_size, "%d.%d.%d", static_cast<int>(first), static_cast<int>(second),
                 static_cast<int>(third));
}

} // namespace

// Deliberate: code 0 switches on and 1 off, and likewise 6 and 7 for debugging.
UTM_API int32_t utm_ir_activate(int32_t on)
{
    return set_switch(activate_codes, on);
}

UTM_API int32_t utm_ir_debug(int32_t on)
{
    return set_switch(debug_codes, on);
}

UTM_API int32_t utm_ir_db_set_update_check_freq(uint32_t value)
{
    return yes_or_no(ir_command(request_of(UTM_IR_SET_UPDATE_CHECK_FREQ, value)));
}

UTM_API int32_t utm_ir_db_set_max_size_mb(int32_t size)
{
    if (size == 0)
        return fail(EINVAL);
    return yes_or_no(ir_command(request_of(UTM_IR_SET_MAX_SIZE_MB, static_cast<uint32_t>(size))));
}

UTM_API int32_t utm_ir_db_set_whitelist(uint32_t value, uint16_t second_value, int32_t operation)
{
    return set_list(whitelist_codes, value, second_value, operation);
}

UTM_API int32_t utm_ir_flush(uint32_t mode)
{
    if (mode >= std::size(flushes_first))
        return fail(EINVAL);
    ir_connection ir;
    if (!ir.established())
        return -1;
    if (flushes_first[mode] && ask_ir(ir, request_of(UTM_IR_FLUSH_FIRST)) != 0)
        return -1;
    if (!flushes_second[mode])
        return 0;
    return yes_or_no(ask_ir(ir, request_of(UTM_IR_FLUSH_SECOND)));
}

// Deliberate: a reset leaves the engine switched off.
UTM_API int32_t utm_ir_reset(void)
{
    int32_t flushed = utm_ir_flush(0);
    return flushed < 0 ? flushed : utm_ir_activate(0);
}

UTM_API int32_t utm_ir_db_set_threat_category(uint32_t value)
{
    return yes_or_no(ir_command(request_of(UTM_IR_SET_THREAT_CATEGORY, value)));
}

UTM_API int32_t utm_ir_db_set_blacklist(uint32_t value, uint16_t second_value, int32_t operation)
{
    return set_list(blacklist_codes, value, second_value, operation);
}

UTM_API int32_t utm_ir_load_db(const char* path)
{
    if (path == nullptr)
        return fail(EINVAL);
    utm_ir_request request = {.code = UTM_IR_LOAD_DB};
    // Deliberate: a path of 128 characters or more fills its field and has no terminator.
    fill_text(request.body.path, path);
    return yes_or_no(ir_command(request));
}

UTM_API char* utm_ir_show_db_status(void)
{
    ir_connection ir;
    utm_ir_reply reply;
    if (!ir.established() || !exchange(ir, request_of(UTM_IR_SHOW_DB_STATUS), reply) || reply.status != 0)
        return nullptr;
    auto* text = static_cast<char*>(malloc(version_size));
    if (text != nullptr)
        write_version(text, reply.version);
    return text;
}
