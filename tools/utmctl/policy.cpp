#include "tools/utmctl/policy.h"

#include "tools/utmctl/config_deed.h"
#include "tools/utmctl/registry_view.h"
#include "tools/utmctl/remedy.h"
#include "tools/utmctl/watched_call.h"

#include <algorithm>

namespace {

const id_kind& other_kind(const policy_kind& kind)
{
    return kind_of(&kind == &cf_policies ? app_policies.word : cf_policies.word);
}

// The identifier that is in the second registry alone; 0 when there is none.
uint32_t added_id(const watched_call& call, const id_kind& kind)
{
    for (const uint32_t id : ids_of(call.after, kind.number)) {
        if (!is_registered(call.before, kind.number, id))
            return id;
    }
    return 0;
}

// What a refused policy leaves in the registry, and how to mend it. The application policy's identifier stays; the
// content-filter policy's takes that of an application policy with it.
void tell_what_is_left(problem& why, const policy_kind& kind, const deed_words& words, uint32_t id,
                       const watched_call& call, const failed_daemons& failed)
{
    const id_kind& own = kind_of(kind.word);
    const id_kind& other = other_kind(kind);
    const std::string number = std::to_string(id);
    if (is_registered(call.after, own.number, id)) {
        why.what = done_in_part(words) + " (in the registry)";
        why.next = is_registered(call.after, other.number, id)
                       ? next_after(failed, "run the command again with another identifier")
                       : next_after(failed, std::string("release it with 'utmctl registry release ") + own.word + " " +
                                                number + "' and run the command again");
        why.status = exit_status::done_in_part;
    }
    if (is_registered(call.before, other.number, id) && !is_registered(call.after, other.number, id)) {
        why.what += " (" + named(other, id) + " is not in the registry any more)";
        why.next = next_after(failed, std::string("run the command again, and 'utmctl registry reserve ") + other.word +
                                          " " + number + "'");
    }
}

problem creation_problem(const policy_kind& kind, const deed_words& words, uint32_t id, const watched_call& call)
{
    if (const auto refusal = creation_refusal(call, not_done(words)))
        return *refusal;
    const failed_exchange failed = failed_exchange_with(kind.daemon, call.error(), call.log);
    problem why = exchange_problem(not_done(words), kind.daemon, failed);
    tell_what_is_left(why, kind, words, id, call, which_failed(kind.daemon, failed));
    return why;
}

// The registry is written before the daemon is told, and keeps what the daemon does not take. One that cannot be locked
// makes the library return success, with nothing bound and nothing sent.
problem binding_problem(const policy_kind& kind, const deed_words& words, bool bound, const watched_call& call)
{
    if (failed_on_registry(call) || call.result)
        return registry_problem(not_done(words), "cannot be used",
                                call.result ? call.result->get<int>() : call.error());
    const failed_exchange failed = failed_exchange_with(kind.daemon, call.error(), call.log);
    problem why = exchange_problem(not_done(words), kind.daemon, failed);
    if (bound) {
        why.what = done_in_part(words) + " (in the registry)";
        why.next = next_after(which_failed(kind.daemon, failed), "run the command again, or bind another policy");
        why.status = exit_status::done_in_part;
    }
    return why;
}

// The policy that is bound to the profile.
uint32_t binding_of(const policy_kind& kind, const utm_id_registry& registry, kqutm::profile_id profile)
{
    const auto& bindings = &kind == &cf_policies ? registry.cf_bindings : registry.app_bindings;
    const auto* slot =
        std::find(std::begin(registry.profiles), std::end(registry.profiles), static_cast<uint32_t>(profile.number()));
    return slot == std::end(registry.profiles) ? 0 : bindings[slot - registry.profiles];
}

template <class Id> using creation = kqutm::result<kqutm::created<Id>>;

template <class Id, creation<Id> (*with)(Id), creation<Id> (*from_clock)()>
kqutm::result<json> create(const request& asked)
{
    const std::optional<Id> id = new_id_of<Id>(asked);
    return (id ? with(*id) : from_clock()).transform([](const kqutm::created<Id>& created) {
        return json{{"id", created.id.number()}, {"registered", created.registered}};
    });
}

template <class Id> kqutm::result<json> bind(const request& asked)
{
    return with_errno(kqutm::profiles::bind(profile_of(asked), id_of<Id>(asked.one("POLICY"))));
}

} // namespace

constinit const policy_kind cf_policies = {"cf-policy", config_daemons[UTM_CONFIG_TARGET_CF],
                                           create<kqutm::cf_policy_id, kqutm::filter::create, kqutm::filter::create>,
                                           bind<kqutm::cf_policy_id>};
constinit const policy_kind app_policies = {
    "app-policy", config_daemons[UTM_CONFIG_TARGET_APP],
    create<kqutm::app_policy_id, kqutm::applications::create, kqutm::applications::create>, bind<kqutm::app_policy_id>};

void demand_registered(const utm_id_registry& registry, const id_kind& kind, uint32_t id, const std::string& what)
{
    if (!is_registered(registry, kind.number, id))
        throw failure(
            {.status = exit_status::unknown_identifier,
             .what = what,
             .culprits = {{"the ID registry", "", "does not know " + named(kind, id) + ", and nothing was sent"}},
             .next = "'utmctl registry show' tells what it holds"});
}

outcome create_policy(const policy_kind& kind, const request& asked)
{
    const id_kind& own = kind_of(kind.word);
    const uint32_t wanted = asked.has("ID") ? registered_id_of(asked.one("ID")) : 0;
    const deed_words words = {wanted == 0 ? std::string("the ") + own.name : named(own, wanted), "created"};
    const watched_call call = call_watched(words, {kind.daemon}, asked.timeout, [&] { return kind.create(asked); });
    if (call.result)
        return {.result = *call.result, .lines = {cell_of(call.result->at("id"))}};
    const uint32_t id = wanted != 0 ? wanted : added_id(call, own);
    const problem why = creation_problem(kind, words, id, call);
    return {.status = why.status,
            .result = {{"id", id != 0 ? json(id) : json()}, {"registered", is_registered(call.after, own.number, id)}},
            .problems = {why}};
}

outcome bind_policy(const policy_kind& kind, const request& asked)
{
    const id_kind& own = kind_of(kind.word);
    const kqutm::profile_id profile = profile_of(asked);
    const uint32_t policy = registered_id_of(asked.one("POLICY"));
    const deed_words words = {named(own, policy), "bound to " + named(profile)};
    const utm_id_registry registry = read_registry(not_done(words), asked.timeout);
    demand_registered(registry, profile, not_done(words));
    demand_registered(registry, own, policy, not_done(words));
    const watched_call call = call_watched(words, {kind.daemon}, asked.timeout, [&] { return kind.bind(asked); });
    const bool bound = binding_of(kind, call.after, profile) == policy;
    outcome told = {.result = {{"id", profile.number()}, {"policy", policy}, {"registered", bound}}};
    if (call.result && bound) {
        told.confirmations = {done(words)};
        return told;
    }
    told.problems = {binding_problem(kind, words, bound, call)};
    told.status = told.problems.front().status;
    return told;
}
