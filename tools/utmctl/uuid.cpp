#include "tools/utmctl/families.h"
#include "tools/utmctl/registry_view.h"
#include "tools/utmctl/text_argument.h"
#include "tools/utmctl/worker.h"

namespace {

constexpr char uuid[] = "the device UUID";

[[noreturn]] void tell_unusable(const std::string& what, int error)
{
    throw failure(keyed_problem("the store of the UUID", what, "cannot be used", error));
}

awaited its_lock(const std::string& what)
{
    return {.daemons = {}, .registry_lock = false, .uuid_lock = true, .without_lock = what};
}

outcome get(const request& asked)
{
    const std::string what = std::string(uuid) + " was not read";
    const auto read = call_in_worker(
                          what, asked.timeout, [] { return as_json(kqutm::uuid::get()); }, its_lock(what))
                          .result;
    if (!read)
        tell_unusable(what, read.error().error);
    const std::string text = *read;
    if (!text.empty())
        return {.result = {{"uuid", text}}, .lines = {printable(text)}};
    return {.status = exit_status::unknown_identifier,
            .result = {{"uuid", nullptr}},
            .problems = {{.status = exit_status::unknown_identifier,
                          .what = what,
                          .culprits = {{"the gateway", "", "has none"}},
                          .next = "'utmctl uuid set' gives it one"}}};
}

void store(const std::string& text, const std::string& participle, double timeout)
{
    const std::string maybe = std::string(uuid) + " may have been " + participle;
    const std::string what = std::string(uuid) + " was not " + participle;
    const call_result call = call_in_worker(
        maybe, timeout, [&] { return as_json(kqutm::uuid::set(text)); }, its_lock(what));
    if (!call.result)
        tell_unusable(what, call.result.error().error);
}

outcome set(const request& asked)
{
    const std::string& text = asked.one("TEXT");
    store(text, "set", asked.timeout);
    return {.result = {{"uuid", text}}, .confirmations = {std::string(uuid) + " was set"}};
}

// An empty text is none to every reader; what was behind its first byte stays in the segment.
outcome clear(const request& asked)
{
    store("", "cleared", asked.timeout);
    return {.result = {{"uuid", nullptr}}, .confirmations = {std::string(uuid) + " was cleared"}};
}

std::string check_uuid(const std::string& text)
{
    const std::string wrong = check_text<UTM_UUID_SIZE - 1>(text);
    return text.empty() ? wrong + "; 'utmctl uuid clear' takes the UUID away" : wrong;
}

constexpr argument new_text[] = {
    {"TEXT", occurs::once, check_uuid, "the UUID, any text of up to 255 characters"},
};

constexpr command commands[] = {
    {"get", {}, {get, "utm_uuid_get"}, "print the device UUID"},
    {"set",
     new_text,
     {set, "utm_uuid_set"},
     "set the device UUID",
     nullptr,
     "uuid set 123e4567-e89b-12d3-a456-426614174000"},
    {"clear", {}, {clear, "utm_uuid_set"}, "take the device UUID away", "the device UUID", "uuid clear --yes"},
};

} // namespace

constinit const family uuid_family = {"uuid", "the device UUID, which every process on the gateway sees", commands};
