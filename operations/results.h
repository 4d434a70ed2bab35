#pragma once

#include "kqutm/registry.h"

#include "operations/function.h"

#include <array>
#include <string_view>

// What functions return, and how long they may block, where several share it.
namespace operations {

inline constexpr meaning exchange_causes[] = {
    {"EINVAL", "an argument is refused; nothing was sent"},
    {"EREMOTEIO", "the daemon refused"},
    {"ETIMEDOUT", "the daemon did not answer in time"},
    {"ENODATA", "the daemon ended the connection instead of answering"},
    {"EPROTO", "a record that is too short, or none that belongs here"},
    {"ENOENT", "the daemon's socket is missing"},
    {"ECONNREFUSED", "nobody listens on the daemon's socket"},
    {"EINTR", "a signal ended the wait; whether the daemon acted is not known"},
};

// The same causes, one of which has another meaning.
template <size_t count>
constexpr std::array<meaning, count> with_meaning(const meaning (&causes)[count], std::string_view value,
                                                  const char* means)
{
    std::array<meaning, count> changed = std::to_array(causes);
    for (meaning& one : changed) {
        if (one.value == value)
            one.means = means;
    }
    return changed;
}

inline constexpr auto registered_exchange_causes =
    with_meaning(exchange_causes, "ENOENT",
                 "an identifier is not registered, and nothing was sent; or a daemon's socket is missing");

inline constexpr meaning key_causes[] = {
    {"ENOENT", "the library's installed file is missing"},
    {"other", "of the system call that failed"},
};

inline constexpr meaning uuid_causes[] = {
    {"EINVAL", "an argument is refused"},
    {"ENOENT", "the library's installed file is missing"},
    {"other", "of the system call that failed"},
};

inline constexpr auto lookup_causes =
    with_meaning(key_causes, "ENOENT", "the identifier is not registered, or the library's installed file is missing");

inline constexpr meaning reservation_causes[] = {
    {"EEXIST", "the identifier is taken"},
    {"ENOSPC", "256 identifiers of the kind are registered"},
    {"ENOENT", "the library's installed file is missing"},
    {"other", "of the system call that failed"},
};

inline constexpr meaning semaphore_causes[] = {
    {"EEXIST", "another process made the semaphore at the same moment: call again"},
    {"ENOENT", "the library's installed file is missing"},
    {"other", "of the system call that failed"},
};

inline constexpr meaning system_causes[] = {{"other", "of the system call that failed"}};

inline constexpr meaning creation_causes[] = {
    {"EEXIST", "the identifier is taken"},
    {"ENOSPC", "256 identifiers of the kind are registered"},
    {"EINVAL", "the identifier is below 0, or 2^31 or more: it is reserved and stays in the registry"},
    {"other", "of the exchange that failed, as for every operation that tells a daemon"},
};

inline constexpr meaning accepted_values[] = {{"0", "the daemon accepted"}, {"-1", "failed; errno tells the cause"}};
inline constexpr result_kind accepted = {fails::minus_one, accepted_values, exchange_causes};
inline constexpr result_kind accepted_if_registered = {fails::minus_one, accepted_values, registered_exchange_causes};

inline constexpr meaning identifier_values[] = {{"an identifier", "done"}, {"-1", "failed; errno tells the cause"}};
inline constexpr result_kind created = {fails::minus_one, identifier_values, creation_causes};

inline constexpr meaning answer_values[] = {
    {"0", "the daemon accepted"},
    {"-1", "an argument was refused, no answer came, or the daemon answered so"},
    {"other", "the daemon's own number of a refusal, unchanged"},
};
inline constexpr result_kind answered = {fails::not_zero, answer_values, exchange_causes};

inline constexpr meaning file_causes[] = {
    {"EINVAL", "an argument is refused"},
    {"other", "of the file that cannot be read or written"},
};
inline constexpr meaning done_values[] = {{"0", "done"}, {"-1", "failed; errno tells the cause"}};
inline constexpr result_kind done_or_not = {fails::minus_one, done_values, file_causes, fails_on::system};

inline constexpr meaning list_values[] = {
    {"a list",
     "circular, behind a head of which only the links mean anything; where errno tells a cause, it is not whole"},
    {"null", "the daemon could not be asked, or memory is short"},
};
inline constexpr result_kind list_or_null = {fails::null, list_values, exchange_causes, fails_on::daemon, true};

inline constexpr meaning nothing_values[] = {{"nothing", "whether it worked is not told"}};
inline constexpr result_kind nothing_told = {fails::never, nothing_values};

inline constexpr meaning node_values[] = {{"an entry", "zero but for its links, which are not set"},
                                          {"null", "memory is short"}};
inline constexpr meaning memory_causes[] = {{"ENOMEM", "memory is short"}};
inline constexpr result_kind node_or_null = {fails::null, node_values, memory_causes, fails_on::system};

inline constexpr meaning semaphore_values[] = {
    {"an identifier", "of the semaphore set"},
    {"below 0", "no key file, or another process made the semaphore at the same moment: call again"},
};
inline constexpr result_kind semaphore = {fails::negative, semaphore_values, semaphore_causes, fails_on::shared_memory};

inline constexpr meaning system_values[] = {{"0", "done"},
                                            {"-1", "the system call failed; nothing is locked or unlocked"}};
inline constexpr result_kind system_call = {fails::minus_one, system_values, system_causes, fails_on::shared_memory};

inline constexpr meaning segment_values[] = {{"an address", "of the segment"},
                                             {"null", "it can be neither found nor made"}};
inline constexpr result_kind segment_or_null = {fails::null, segment_values, key_causes, fails_on::shared_memory};

inline constexpr meaning always_values[] = {{"0", "always"}};
inline constexpr result_kind zero_always = {fails::never, always_values};

inline constexpr char list_is_released[] = "the list is released";
inline constexpr char node_is_released[] = "the entry is released";
inline constexpr char descriptor_is_closed[] = "the descriptor is closed";
inline constexpr char segment_is_detached[] = "the segment is detached";
inline constexpr char lock_is_undone[] = "the kernel undoes it when the process of the call ends, which is at once";

inline constexpr char tells_one[] =
    "up to 2.1 s while the daemon cannot be reached (22 attempts, 100 ms apart), and up to 10 s for its answer";
inline constexpr char tells_one_after_registry[] =
    "for the registry lock without a limit; up to 2.1 s while the daemon cannot be reached, and up to 10 s for its "
    "answer";
inline constexpr char tells_three[] =
    "for the registry lock without a limit; for each of the three daemons up to 2.1 s while it cannot be reached, and "
    "up to 10 s for its answer";
inline constexpr char asks_one[] =
    "up to 2 s for the first record of the answer, and for each further record without a limit; connects once";
inline constexpr char waits_for_lock[] = "for the lock without a limit";
inline constexpr char waits_not[] = "not at all";
inline constexpr char engine_waits[] =
    "up to 10 s for each reply, and for each record of a list; to connect and to send without a limit";
inline constexpr char devid_waits[] = "up to 3 s each to connect, to send, and for each reply or record of a list";
inline constexpr char ir_waits[] = "without a limit, as long as the daemon takes";

inline constexpr char profile_help[] = "the user profile's identifier";
inline constexpr argument_help registered_profile = {"the user profile's identifier, which has to be registered",
                                                     UTM_ID_USER_PROFILE};
inline constexpr char registered_policy_help[] = "the policy's identifier, which has to be registered";

inline constexpr char switch_help[] = "0 off, 1 on; anything else is refused";
inline constexpr char new_id_help[] = "the identifier to take, or 0 for one from the clock";
inline constexpr argument_help dump_path_help =
    path_for_daemon("up to 127 characters; make it absolute, as the daemon opens it too; a shell sees it unquoted");
inline constexpr char dumps[] =
    "for the registry lock without a limit; as long as up to 514 short shell commands take; up "
    "to 2.1 s while the daemon cannot be reached, and up to 10 s for its answer";
inline constexpr step reserved = change_of_registry("registry: the identifier reserved, under its lock");
inline constexpr char first_use[] = "registry: cleared, where this is the first use since the gateway started";

} // namespace operations
