#include "tests/failing_calls/rules.h"

#include "tests/failing_calls/steps.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <sstream>
#include <utility>
#include <vector>

namespace failing_calls {

namespace {

// Where a rule holds.
enum class where {
    anywhere,
    at_first, // on a gateway that has just been started
    in_use,
    two_profiles,     // of which the first has policies
    refused,          // towards daemons that refuse
    for_good_at_first // where all calls that follow fail too
};

constexpr char failure[] = "failure"; // whichever is the operation's

// What an operation returns though a step of it failed; the first row that fits counts.
struct answer {
    const char* operations;
    const char* steps;
    const char* result = nullptr; // null: the usual one
    where holds = where::anywhere;
};

// Operations that share their rules: those that check an identifier, bind a policy, reserve an identifier, and dump.
#define CHECKED                                                                                                        \
    "check_shm_utm_id utm_cf_policy_config_block utm_cf_policy_flush utm_user_profile_add_dev "                        \
    "utm_user_profile_del_dev"
#define BOUND "utm_user_profile_add_cf_policy utm_user_profile_add_app_policy"
#define RESERVED "get_unique_id utm_app_policy_create utm_cf_policy_create utm_user_profile_create"
#define DUMPED "utm_app_dump_all utm_cf_dump_all"
#define FLUSHED "utm_user_profile_flush utm_user_profile_cf_app_policy_reset"

const answer answers[] = {
    // A check lets the caller go on that cannot have the lock; so do a release, a flush and a binding, which end there,
    // as a dump does that cannot reach the registry.
    {CHECKED, "lock", "0", where::at_first},
    {CHECKED, "lock"},
    {"reset_utm_id_shm", "lock"},
    {FLUSHED, "lock:1"},
    {BOUND, "lock", "0", where::for_good_at_first},
    {BOUND, "lock:3 unlock:3", "0", where::refused},
    {BOUND, "lock unlock"},
    {DUMPED, "lock unlock attach", "0", where::refused},
    {DUMPED, "lock attach"},
    // A set that is removed again and again is never there.
    {RESERVED " dump_utm_profile_mapping mapping_without_memory", "clearing_lock", failure, where::for_good_at_first},
    // An identifier that cannot be released stays.
    {"utm_cf_policy_create utm_user_profile_create",
     "lock:2 lock:3 lock:4 key:2 key:3 key:4 attach:2 attach:3 attach:4"},
    // An empty mapping that cannot be given back is returned all the same.
    {"dump_utm_profile_mapping", "unlock", "0 entries", where::at_first},
    // A marker that cannot be seen clears the registry.
    {"dump_utm_profile_mapping", "access", "null"},
    // Without the key file the segment is another one, which is empty: there is room in it, and nothing to release.
    {RESERVED " utm_uuid_set attach_utm_common_data_shm attach_utm_id_data_shm reset_utm_id_shm " DUMPED, "key"},
    {FLUSHED " mapping_without_memory", "key:1"},
    {BOUND, "key:3"},
    // The last of the three daemons decides, for a new profile the application daemon.
    {"utm_user_profile_add_dev utm_user_profile_del_dev utm_user_profile_delete", "cf app"},
    {"utm_user_profile_create", "cf user_profile"},
    // What becomes of each profile is not looked at.
    {FLUSHED, "lock:2 key:2 attach:2 cf:1 app:1 user_profile", nullptr, where::in_use},
    {FLUSHED, "lock:3 key:3 attach:3 cf:2 app:2", nullptr, where::two_profiles},
    {"utm_user_profile_flush", "cf app user_profile"},
    // The block of a status is returned as far as it came.
    {"utm_ips_show_status", "answer"},
};

constexpr char before[] = "before";
constexpr char after[] = "after";

// What an operation leaves behind when a step of it fails: all as it was before, as after a success, or this. Without a
// row a success leaves what it usually does, and a failure nothing.
struct remainder {
    const char* operations;
    const char* steps;
    const char* also; // another step that fails too, or null
    const char* what;
    where holds = where::anywhere;
};

const remainder left_to_callers[] = {
    {"utm_getSystemCommandResult", "popen", nullptr, before},
    // The text has been copied before it turns out that the lock cannot be given back; a new segment holds none.
    {"utm_uuid_get", "unlock", nullptr, after},
    {"utm_uuid_get", "key", nullptr, R"(- - - - - - - "")"},
};

const remainder stored_remainders[] = {
    // A marker that cannot be seen clears the registry.
    {"init_utm_id_shm dump_utm_profile_mapping mapping_without_memory " DUMPED, "access", nullptr, "; uuid",
     where::in_use},
    {"utm_user_profile_create", "access", nullptr, " 0=8; uuid", where::in_use},
    {"utm_cf_policy_create", "access", nullptr, " 512=21; uuid", where::in_use},
    {"utm_app_policy_create", "access", nullptr, " 1024=31; uuid", where::in_use},
    // What the segment of another key holds is nobody's.
    {RESERVED " utm_uuid_set reset_utm_id_shm " FLUSHED, "key:1", nullptr, before},
    {"reset_utm_id_shm", "lock", nullptr, before},
    {BOUND, "lock:3 key:3", nullptr, before},
    // A binding that the daemon refuses stays, and the identifier of an application policy.
    {BOUND, "cf app", nullptr, after},
    {"utm_app_policy_create", "app malloc", nullptr, after},
    // A content-filter policy and a profile give theirs back, if they can.
    {"utm_user_profile_create", "cf app user_profile", nullptr, before},
    {"utm_user_profile_create", "lock:2 key:2 attach:2", "lock:4 key:4 attach:4", " 0=8 3=7 517=20 1030=30; uuid"},
    {"utm_cf_policy_create", "lock:2 key:2 attach:2", nullptr, " 3=7 512=21 517=20 1030=30; uuid"},
    // Daemons that refuse everything leave everything.
    {"utm_user_profile_delete " FLUSHED, "lock key attach cf app", nullptr, before, where::refused},
    // A profile is gone as soon as one of these two has accepted that; where it is only one of many, what the
    // registry refuses is not looked at.
    {"utm_user_profile_delete " FLUSHED, "cf:1", "app:1", before},
    // The one that refuses leaves the policy that it holds, and the binding.
    {"utm_user_profile_delete", "cf", nullptr, " 4=8 259=20 517=20; uuid", where::two_profiles},
    {"utm_user_profile_delete", "app", nullptr, " 4=8 771=30 1030=30; uuid", where::two_profiles},
    {"utm_user_profile_delete", "user_profile", nullptr, after},
    {FLUSHED, "cf:1", nullptr, " 259=20 517=20; uuid", where::two_profiles},
    {FLUSHED, "app:1", "cf:2", " 4=8 771=30 1030=30; uuid", where::two_profiles},
    {FLUSHED, "app:1", nullptr, " 771=30 1030=30; uuid", where::two_profiles},
    {FLUSHED, "cf:2", "app:2", " 4=8; uuid", where::two_profiles},
    // The second profile goes even where the first one stays.
    {FLUSHED, "lock:2 key:2 attach:2", "lock:3 key:3 attach:3", before},
    {FLUSHED, "lock:2 key:2 attach:2", nullptr, " 3=7 259=20 517=20 771=30 1030=30; uuid", where::two_profiles},
    {FLUSHED, "lock:3 key:3 attach:3", nullptr, " 4=8; uuid", where::two_profiles},
    {FLUSHED, "lock unlock:1 key attach", nullptr, before},
    {"utm_user_profile_cf_app_policy_reset", "cf app fopen", nullptr, after},
};

// Of no operation do these make a failure.
constexpr char spared_steps[] =
    "log vain clearing_vain clearing_lock clearing_unlock clearing_key command filter_marker page_text";

// Lists that are returned as far as they came.
struct partial_list {
    const char* operations;
    const char* function;
    int first;        // the number of the call that the first entry needs
    bool leaves_out;  // the entry alone for which there is no memory
    const char* none; // how a list without entries reads
};

#define ENGINE_LISTS                                                                                                   \
    "utm_ips_show_customizelist utm_av_show_cache utm_av_show_whitelist utm_ir_db_get_blacklist "                      \
    "utm_ir_db_get_whitelist"
#define DEVICE_LISTS                                                                                                   \
    "utm_devid_get_device_list utm_devid_get_device_list_by_interface utm_devid_get_device_list_by_ip "                \
    "utm_devid_get_device_list_by_mac"

const partial_list partial_lists[] = {
    {ENGINE_LISTS, "recv", 1, false, "0 entries"},
    {ENGINE_LISTS, "malloc", 2, false, "0 entries"},
    {"dump_utm_profile_mapping", "malloc", 2, false, "null"},
    {DEVICE_LISTS, "recv", 1, false, "null"},
    {DEVICE_LISTS, "malloc", 2, true, "null"},
};

// A switch of the IR engine tells how far it came; a reset is one after a flush of two exchanges.
const struct {
    const char* operation;
    int first_connection;
    int first_exchange;
} telling[] = {
    {"utm_ir_activate", 1, 1},
    {"utm_ir_debug", 1, 1},
    {"utm_ir_reset", 2, 3},
};

bool has_word(const char* words, const std::string& wanted)
{
    std::istringstream all(words);
    return std::find(std::istream_iterator<std::string>(all), {}, wanted) != std::istream_iterator<std::string>();
}

bool has_two_profiles(const scene& scene)
{
    return scene.undisturbed.stored_before.find(" 3=7 4=8 ") != std::string::npos;
}

bool holds(where kind, const scene& scene, const fault& fault)
{
    switch (kind) {
    case where::anywhere:
        return true;
    case where::at_first:
        return scene.before == history::none;
    case where::in_use:
        return scene.before == history::everything_used_once || has_two_profiles(scene);
    case where::two_profiles:
        return has_two_profiles(scene);
    case where::refused:
        return scene.tested.answer == counts::daemons::refuse;
    case where::for_good_at_first:
        return scene.before == history::none && fault.lasting;
    }
    abort();
}

bool fails_without_unlock(const std::string& operation)
{
    return has_word("utm_uuid_get utm_commoc_unlock utm_id_config_unlock", operation);
}

// What errno tells of a failure: that of the call; where it fails to find what is there, that of the attempt to create
// it; and a segment that is another one for want of its key lacks the identifier.
int cause_of(const scene& scene, const fault& fault, const step& step)
{
    if (step.name == "key")
        return has_word("utm_uuid_get dump_utm_profile_mapping", scene.tested.name) ? 0 : ENOENT;
    const bool looks = fault.function == "semget" || fault.function == "shmget";
    if (looks && !step.creates && !fault.lasting)
        return EEXIST;
    const bool waits = step.name == "answer" || step.name == "engine";
    return waits && fault.error == EAGAIN ? ETIMEDOUT : fault.error;
}

// Null: the step fails the operation.
const answer* answer_to(const scene& scene, const fault& fault, bool spares, const step& step)
{
    static constexpr answer usual = {"", ""};
    for (const answer& answer : answers) {
        if (has_word(answer.operations, scene.tested.name) && names(answer.steps, step) &&
            holds(answer.holds, scene, fault))
            return &answer;
    }
    const bool spared =
        spares || names(spared_steps, step) || (step.name == "unlock" && !fails_without_unlock(scene.tested.name));
    return spared ? &usual : nullptr;
}

// As many entries as have come when the call fails, or as there is memory for.
std::string part_of_list(const scene& scene, const fault& fault, const partial_list& list)
{
    const int all = atoi(scene.undisturbed.result.c_str());
    const int arrived = list.leaves_out && !fault.lasting ? all - 1 : fault.nth - list.first;
    return arrived > 0 ? std::to_string(arrived) + " entries" : list.none;
}

std::vector<std::string> names_of(const std::vector<step>& steps)
{
    std::vector<std::string> all;
    for (const step& step : steps) {
        if (all.empty() || all.back() != step.name)
            all.push_back(step.name);
    }
    return all;
}

bool fails_one_of(const std::vector<step>& failing, const char* steps)
{
    return std::any_of(failing.begin(), failing.end(), [&](const step& step) { return names(steps, step); });
}

// Null: it leaves the usual.
template <size_t Count>
const char* find_remainder(const remainder (&remainders)[Count], const scene& scene, const fault& fault,
                           const std::vector<step>& failing)
{
    for (const auto& [operations, steps, also, what, where] : remainders) {
        if (has_word(operations, scene.tested.name) && fails_one_of(failing, steps) &&
            (also == nullptr || fails_one_of(failing, also)) && holds(where, scene, fault))
            return what;
    }
    return nullptr;
}

std::string text_of(const char* what, const std::string& before_it, const std::string& after_it)
{
    if (what == before)
        return before_it;
    return what == after ? after_it : what;
}

// Without its lock, nothing else is done about the registry.
bool is_skipped(const step& step, const std::vector<failing_calls::step>& before_it)
{
    return step.name == "key" && fails_one_of(before_it, ("lock:" + std::to_string(step.number)).c_str());
}

// The other daemons are told too, but those that come after the step that fails the operation; without a socket there
// is no connection. Only what fails towards a config daemon is looked at.
daemons_told expect_told(const scene& scene, const fault& fault, const std::vector<step>& failing, bool is_failure)
{
    if (!fails_one_of(failing, "cf app user_profile"))
        return std::nullopt;
    std::vector<step> told;
    for (const step& connection : connections(scene.undisturbed)) {
        const bool fails = std::find(failing.begin(), failing.end(), connection) != failing.end();
        if (!fails || fault.function != "socket")
            told.push_back(connection);
        if (is_failure && connection == failing.back())
            break;
    }
    return names_of(told);
}

expectation expect_failure(const scene& scene, const fault& fault, const step& step)
{
    const outcome& usual = scene.undisturbed;
    return {failure_value(scene, fault), cause_of(scene, fault, step), usual.left_before, usual.stored_before};
}

// What the steps make of it that are reached, to which failing is cut.
expectation expect_answer(const scene& scene, const fault& fault, bool spares, std::vector<step>& failing)
{
    expectation expected = expect_usual(scene, fault);
    for (const step& step : std::exchange(failing, {})) {
        if (is_skipped(step, failing))
            continue;
        failing.push_back(step);
        const answer* answer = answer_to(scene, fault, spares, step);
        if (answer == nullptr || answer->result == failure) {
            expectation failed = expect_failure(scene, fault, step);
            failed.told = expect_told(scene, fault, failing, true);
            return failed;
        }
        if (answer->result == nullptr)
            continue;
        expected.result = answer->result;
        expected.has_any_error = expected.result != "null";
    }
    expected.told = expect_told(scene, fault, failing, false);
    return expected;
}

} // namespace

bool is_number(const std::string& result)
{
    return result.find_first_not_of("-0123456789") == std::string::npos;
}

const std::vector<failing_call>& all_failing_calls()
{
    static const std::vector<failing_call> all = {
        {"access", EIO, true}, // a file that cannot be looked at is one that is not there
        {"bind", EADDRINUSE, false},
        {"calloc", ENOMEM, false},
        {"chmod", EIO, true}, // of the daemon's own socket
        {"close", EIO, true},
        {"connect", ECONNREFUSED, false},
        {"connect", EAGAIN, false, true},
        {"connect", EINTR, false, true},
        {"fclose", ENOSPC, true},
        {"fdopen", ENOMEM, true}, // of the command file, and so on
        {"fgets", EINTR, true},
        {"flock", ENOLCK, true},
        {"flock", EINTR, true},
        {"fopen", EMFILE, false},
        {"fprintf", ENOSPC, true},
        {"fputs", EPIPE, true},
        {"fscanf", EIO, true},
        {"ftok", EIO, false},
        {"getifaddrs", ENOMEM, false},
        {"inet_ntop", ENOSPC, false},
        {"kill", ESRCH, true},
        {"listen", EADDRINUSE, true}, // is not looked at
        {"malloc", ENOMEM, false},
        {"open", EMFILE, false},
        {"pclose", EINTR, true},
        {"popen", EMFILE, true}, // the helper reports nothing
        {"printf", EPIPE, true},
        {"pthread_sigmask", EINVAL, true},
        {"read", EIO, false},
        {"read", EINTR, false, true},
        {"recv", EIO, false},
        {"recv", EAGAIN, false, true},
        {"recv", EINTR, false, true},
        {"select", ENOMEM, false},
        {"select", EINTR, false, true},
        {"semctl", EINVAL, false}, // as for a set that somebody has removed
        {"semget", EIO, false},
        {"semop", EINVAL, false}, // the same
        {"semop", EINTR, true},   // the wait is taken up again
        {"send", EPIPE, false},
        {"setsockopt", EIO, false},
        {"shmat", ENOMEM, false},
        {"shmdt", EINVAL, true},
        {"shmget", EIO, false},
        {"sigpending", EFAULT, true},
        {"sigtimedwait", EINTR, true}, // of SIGPIPE, and so on
        {"socket", EMFILE, false},
        {"stat", EIO, true}, // of a log
        {"system", ENOMEM, true},
        {"unlink", EIO, true},
        {"usleep", EINTR, true},
        {"write", EPIPE, false},
        {"write", EINTR, false, true},
    };
    return all;
}

daemons_told told_by(const outcome& outcome)
{
    return names_of(connections(outcome));
}

expectation expect_usual(const scene& scene, const fault& fault)
{
    const outcome& usual = scene.undisturbed;
    const bool succeeds = usual.result != failure_value(scene, fault) && usual.result != "null";
    return {usual.result, usual.error, usual.left, usual.stored, succeeds, told_by(usual)};
}

expectation expect(const scene& scene, const fault& fault, bool spares)
{
    const outcome& usual = scene.undisturbed;
    std::vector<step> failing = failing_steps(usual, fault);
    expectation expected = expect_answer(scene, fault, spares, failing);
    for (const partial_list& list : partial_lists) {
        if (has_word(list.operations, scene.tested.name) && fault.function == list.function && fault.nth >= list.first)
            expected.result = part_of_list(scene, fault, list);
    }
    if (const char* what = find_remainder(left_to_callers, scene, fault, failing))
        expected.left = text_of(what, usual.left_before, usual.left);
    if (const char* what = find_remainder(stored_remainders, scene, fault, failing))
        expected.stored = text_of(what, usual.stored_before, usual.stored);
    return expected;
}

bool is_one_semop(const std::string& operation)
{
    return has_word("utm_commoc_lock utm_id_config_lock", operation);
}

std::string failure_value(const scene& scene, const fault& fault)
{
    const std::string name = scene.tested.name;
    const std::string& usual = scene.undisturbed.result;
    if (!is_number(usual) && usual != "a descriptor")
        return "null";
    if (name == "utm_devid_get_latest_timestamp")
        return "0";
    for (const auto& [operation, first_connection, first_exchange] : telling) {
        if (name == operation && has_word("socket connect", fault.function) && fault.nth >= first_connection)
            return "-3";
        if (name == operation && has_word("send recv", fault.function) && fault.nth >= first_exchange)
            return "-4";
    }
    return "-1";
}

bool abandons_blocks(const std::string& operation)
{
    return has_word("send_utm_event_and_get_response utm_app_daemon_status utm_app_get_export_interval "
                    "utm_app_policy_create utm_user_profile_get_daily_limit_enable utm_user_profile_get_daily_limit "
                    "utm_user_profile_get_extended utm_user_profile_reset_extended utm_user_profile_get_usage "
                    "utm_user_profile_get_app_usage utm_user_profile_get_weekday_daily_limit "
                    "utm_user_profile_get_app_usage_prev_days utm_user_profile_get_browse_domain_list",
                    operation);
}

bool keeps_what_it_got(const std::string& operation)
{
    return has_word("utm_commoc_lock utm_id_config_lock utm_user_profile_add_cf_policy utm_user_profile_add_app_policy "
                    "mapping_without_memory descriptor_0_of_config descriptor_0_of_page descriptor_0_of_ir",
                    operation);
}

} // namespace failing_calls
