#include "tests/crowd/deeds.h"

#include "kqutm.h"

#include "tests/engines/engines.h"
#include "tests/sandbox/lists.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace crowd {

namespace {

// Whoever is interrupted or stopped may hear of it, nobody else; and no failure has another cause.
bool is_explained(const member& me, bool success)
{
    return success || (me.is_disturbed() && errno == EINTR);
}

// A crowd may keep a daemon busy for longer than its clients wait. While this lives, those of its thread wait as long
// as it takes.
class endless_patience {
public:
    endless_patience()
    {
        plan_.answer("setsockopt", wrap::every, 0);
        plan_.answer("select", wrap::every, 1); // there is something to read, or there will be
    }

protected:
    wrap::plan plan_;
};

// The content-filter daemon is process 4711, which no signal reaches and which never takes a command.
class busy_filter : public endless_patience {
public:
    busy_filter()
    {
        plan_.answer("kill", wrap::every, 0);
        plan_.answer("usleep", wrap::every, 0);
    }
};

bool renew_own_id(const member& me, int round)
{
    const uint32_t kind = kind_of(me.thread);
    const auto id = static_cast<uint32_t>(first_own + me.thread);
    std::atomic<hold>& own = me.told.own[me.thread];
    const bool held = round > 0;
    own = hold::changing;
    if (held && reset_utm_id_shm(id, kind) != 0)
        return false;
    own = hold::free;
    own = hold::changing;
    const bool reserved = get_unique_id(id, kind) == static_cast<int>(id) && check_shm_utm_id(id, kind) == 0;
    own = hold::reserved;
    return reserved;
}

// What has been granted belongs to nobody else until it is given back.
bool hold_alone(const member& me, contested& granted, uint32_t id, uint32_t kind)
{
    const size_t mine = me.thread + 1;
    granted.grants++;
    const bool alone = granted.holder.exchange(mine) == 0;
    const bool registered = check_shm_utm_id(id, kind) == 0;
    return granted.holder.exchange(0) == mine && alone && registered && reset_utm_id_shm(id, kind) == 0;
}

bool share_id(const member& me, int round)
{
    const size_t number = (me.thread + static_cast<size_t>(round)) % shared_count;
    const auto id = static_cast<uint32_t>(first_shared + number);
    me.told.wanted[me.thread] = number + 1;
    const bool fine = get_unique_id(id, kind_of(number)) == static_cast<int>(id)
                          ? hold_alone(me, me.told.shared[number], id, kind_of(number))
                          : errno == EEXIST;
    me.told.wanted[me.thread] = 0;
    return fine;
}

bool want_lasting_id(const member& me, int round)
{
    const size_t number = (me.thread + static_cast<size_t>(round)) % lasting_count;
    const auto id = static_cast<uint32_t>(first_lasting + number);
    if (get_unique_id(id, kind_of(number)) != static_cast<int>(id))
        return errno == EEXIST;
    me.told.lasting[number].grants++;
    return true;
}

// The clock stands still for everybody until a thread has found its second taken, so all want the same ones.
int id_from_clock(size_t kind)
{
    wrap::plan plan;
    for (size_t second = 0; second < seconds_on_clock; second++)
        plan.answer("time", static_cast<int>(second + 1), static_cast<long>(clock_starts[kind] + second));
    return get_unique_id(0, static_cast<uint32_t>(kind + 1));
}

bool ask_clock(const member& me, int)
{
    if (me.thread % threads_each != 0)
        return true; // there is no room for one of each
    const size_t kind = me.process() % std::size(clock_starts);
    const auto id = static_cast<uint32_t>(id_from_clock(kind));
    const size_t second = id - clock_starts[kind];
    return second < seconds_on_clock &&
           hold_alone(me, me.told.seconds[kind * seconds_on_clock + second], id, static_cast<uint32_t>(kind + 1));
}

bool set_uuid(const member& me, int)
{
    return utm_uuid_set(uuid_of(me.thread).c_str()) == 0;
}

bool get_uuid(const member&, int)
{
    char found[UTM_UUID_SIZE];
    return utm_uuid_get(found, sizeof found) == 0 && is_whole_uuid(found);
}

// A line in each log, of one's own and by what is refused.
bool write_lines(const member& me, int round)
{
    utm_log(UTM_APPCF_LOG, "%s\n", numbered_line(me.thread, round).c_str());
    return utm_ips_flush(3) == -1 && errno == EINVAL && utm_devid_activate(2) == -1 && errno == EINVAL;
}

bool ask_ips(const member& me, int round)
{
    const endless_patience patience;
    const size_t rule = me.thread * rounds + static_cast<size_t>(round % rounds);
    const bool accepted = utm_ips_set_whitelist(std::to_string(rule).c_str(), 1) == 0;
    if (accepted)
        me.told.accepted[rule] = true;
    return is_explained(me, accepted);
}

// It refuses everything.
bool ask_devid(const member& me, int)
{
    const endless_patience patience;
    const int32_t result = utm_devid_activate(1);
    return result != 0 && is_explained(me, result == 7);
}

bool tell_content_filter(const member& me, int)
{
    const endless_patience patience;
    return is_explained(me, utm_cf_debug(1) == 0);
}

bool tell_ir(const member& me, int)
{
    return is_explained(me, utm_ir_activate(1) == 0);
}

// The first of the cache come last, so a list that breaks off lacks what comes first.
bool list_cache(const member& me, int)
{
    const endless_patience patience;
    utm_av_entry* list = utm_av_show_cache();
    if (list == nullptr)
        return is_explained(me, false);
    const int cause = errno;
    std::string found;
    for (const utm_av_entry* entry : nodes_of(list))
        found += entry->cache_key;
    free_list(list);
    errno = cause;
    return is_explained(me, found == cache) && std::string(cache).ends_with(found);
}

bool bind(const member& me, int round, int32_t (*operation)(uint32_t, uint32_t), uint32_t first_policy)
{
    const endless_patience patience;
    const size_t profile = me.thread % profile_count;
    const size_t policy = 2 * profile + static_cast<size_t>(round % 2);
    const bool told =
        operation(static_cast<uint32_t>(first_profile + profile), static_cast<uint32_t>(first_policy + policy)) == 0;
    me.told.bindings[me.process()]++;
    return is_explained(me, told);
}

bool bind_cf_policy(const member& me, int round)
{
    const auto operation = [](uint32_t profile, uint32_t policy) {
        return utm_user_profile_add_cf_policy(profile, policy);
    };
    return bind(me, round, operation, first_cf_policy);
}

bool bind_app_policy(const member& me, int round)
{
    return bind(me, round, utm_user_profile_add_app_policy, first_app_policy);
}

// A profile that lost its place when a daemon was not heard is not found when it is to be deleted.
bool is_explained_by_loss(const member& me, bool success)
{
    return is_explained(me, success) || (me.is_disturbed() && errno == ENOENT);
}

// Who heard neither of the two daemons that free the place frees it.
bool make_and_delete(const member& me, uint32_t id)
{
    const bool made = is_explained(me, utm_user_profile_create(static_cast<int32_t>(id)) == static_cast<int32_t>(id));
    const bool deleted = is_explained_by_loss(me, utm_user_profile_delete(static_cast<int32_t>(id)) == 0);
    const bool left = check_shm_utm_id(id, UTM_ID_USER_PROFILE) == 0;
    return made && deleted && (!left || (me.is_disturbed() && reset_utm_id_shm(id, UTM_ID_USER_PROFILE) == 0));
}

bool renew_profile(const member& me, int)
{
    const size_t number = me.process();
    if (me.thread % threads_each != 1 || number >= made_profile_count)
        return true;
    const endless_patience patience;
    me.told.made[number] = hold::changing;
    const bool fine = make_and_delete(me, static_cast<uint32_t>(first_made_profile + number));
    me.told.made[number] = hold::free;
    return fine;
}

bool is_bound_as_wanted(const utm_profile_mapping& entry)
{
    const auto number = static_cast<size_t>(entry.profile_id - static_cast<int32_t>(first_profile));
    const auto first = static_cast<int32_t>(first_cf_policy + 2 * number);
    return entry.cf_policy_id == 0 || entry.cf_policy_id == first || entry.cf_policy_id == first + 1;
}

bool is_to_be_bound(const utm_profile_mapping& entry)
{
    return entry.profile_id >= static_cast<int32_t>(first_profile) &&
           entry.profile_id < static_cast<int32_t>(first_profile + profile_count);
}

// The profiles that get bound are in it, in their order, and no other has a policy.
bool read_mapping(const member&, int)
{
    utm_profile_mapping* mapping = dump_utm_profile_mapping();
    if (mapping == nullptr)
        return false;
    int32_t next = first_profile;
    bool fine = true;
    for (const utm_profile_mapping* entry : nodes_of(mapping)) {
        if (is_to_be_bound(*entry))
            fine = fine && entry->profile_id == next++ && is_bound_as_wanted(*entry);
        else
            fine = fine && entry->cf_policy_id == 0;
    }
    utm_free_profile_mapping_list(mapping);
    return fine && next == static_cast<int32_t>(first_profile + profile_count);
}

bool read_usage(const member& me, int)
{
    const endless_patience patience;
    utm_app_usage_entry* list = utm_user_profile_get_app_usage(first_profile, 0);
    if (list == nullptr)
        return is_explained(me, false);
    std::vector<uint32_t> found;
    for (const utm_app_usage_entry* entry : entries_of(list))
        found.push_back(entry->first_value);
    utm_user_profile_free_app_usage_list(list);
    return std::equal(found.begin(), found.end(), std::begin(usage), std::end(usage));
}

bool run_command(const member&, int)
{
    char output[128];
    utm_getSystemCommandResult("echo one line", output, sizeof output, 1);
    return strcmp(output, "one line") == 0;
}

// One thread of a process, as each switch takes up to four shells.
bool switch_engine(const member& me, int round)
{
    if (me.thread % threads_each != 2)
        return true;
    const busy_filter filter;
    const auto value = static_cast<int32_t>((me.process() + static_cast<size_t>(round)) % 2);
    return is_explained(me, utm_cf_web_safe_browsing_activate(value) == 0);
}

struct deed {
    const char* name;
    bool (*is_fine)(const member& me, int round);
    bool lasts = false; // what a process leaves that is killed meanwhile cannot be told
};

constexpr deed all[] = {
    {"renew_own_id", renew_own_id},
    {"share_id", share_id},
    {"want_lasting_id", want_lasting_id, true},
    {"ask_clock", ask_clock, true},
    {"set_uuid", set_uuid, true},
    {"get_uuid", get_uuid},
    {"ask_ips", ask_ips},
    {"ask_devid", ask_devid},
    {"write_lines", write_lines},
    {"renew_profile", renew_profile},
};

// One of them in each round.
constexpr deed in_turn[] = {
    {"tell_content_filter", tell_content_filter},
    {"list_cache", list_cache},
    {"tell_ir", tell_ir},
    {"bind_cf_policy", bind_cf_policy},
    {"bind_app_policy", bind_app_policy},
    {"read_mapping", read_mapping},
    {"read_usage", read_usage},
    {"run_command", run_command},
    {"switch_engine", switch_engine},
};

void do_it(const member& me, int round, const deed& deed)
{
    if (!(deed.lasts && me.is_doomed()) && !deed.is_fine(me, round))
        me.told.broken[me.process()] = deed.name;
}

} // namespace

std::string uuid_of(size_t thread)
{
    return std::string(255, static_cast<char>('a' + thread % 26));
}

bool is_whole_uuid(const std::string& uuid)
{
    return uuid.size() == 255 && uuid.find_first_not_of(uuid[0]) == std::string::npos;
}

std::string numbered_line(size_t thread, int round)
{
    return "[thread_" + std::to_string(thread) + "]round " + std::to_string(round) + " of some length";
}

void run_round(const member& me, int round)
{
    for (const deed& deed : all)
        do_it(me, round, deed);
    do_it(me, round, in_turn[(me.thread + static_cast<size_t>(round)) % std::size(in_turn)]);
    me.told.progress[me.process()]++;
}

} // namespace crowd
