#pragma once

// What utmctl's exit status tells. Scripts rely on these numbers.
enum class exit_status {
    done = 0,
    refused = 1,
    usage = 2,
    no_answer = 3,
    unreachable = 4,
    registry_unusable = 5,
    unknown_identifier = 6,
    protocol_error = 7,
    done_in_part = 8,
    unsafe = 9,
    warning = 10,
    error = 11
};

struct exit_status_row {
    exit_status status;
    const char* word;
    const char* meaning;
};

constexpr exit_status_row exit_statuses[] = {
    {exit_status::done, "done", "done"},
    {exit_status::refused, "refused",
     "refused by the daemon, the system, or the registry: identifier taken, no slot free"},
    {exit_status::usage, "usage", "wrong usage; nothing was sent"},
    {exit_status::no_answer, "no-answer", "no answer in time"},
    {exit_status::unreachable, "unreachable", "the daemon cannot be reached"},
    {exit_status::registry_unusable, "registry-unusable", "the ID registry, or the store of the UUID, cannot be used"},
    {exit_status::unknown_identifier, "unknown-identifier", "no such identifier; no UUID is set"},
    {exit_status::protocol_error, "protocol-error", "an answer that is none, or a process that died"},
    {exit_status::done_in_part, "done-in-part", "done in part: the message tells what is left where"},
    {exit_status::unsafe, "unsafe", "refused for safety: --yes is missing"},
    {exit_status::warning, "warning", "looked around, and found something that should be put right"},
    {exit_status::error, "error", "looked around, and found something that does not work"},
};

constexpr const char* word_of(exit_status status)
{
    return exit_statuses[static_cast<int>(status)].word;
}
