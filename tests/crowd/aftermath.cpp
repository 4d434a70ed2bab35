#include "tests/crowd/aftermath.h"

#include "kqutm/registry.h"

#include "tests/crowd/deeds.h"
#include "tests/sandbox/lines.h"
#include "tests/sandbox/registry.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <regex>
#include <set>

namespace crowd {

namespace {

constexpr size_t tables[] = {profiles, cf_policies, app_policies};

long times_in_table(const slots& all, size_t id, uint32_t kind)
{
    const auto first = all.begin() + static_cast<long>(tables[kind - 1]);
    return std::count(first, first + 256, id);
}

long expect_own_ids(const ledger& told, const slots& all)
{
    long taken = 0;
    for (size_t thread = 0; thread < thread_count; thread++) {
        const long found = times_in_table(all, first_own + thread, kind_of(thread));
        if (told.own[thread] == hold::changing) // when it was killed
            EXPECT_LE(found, 1) << thread;
        else
            EXPECT_EQ(found, told.own[thread] == hold::reserved ? 1 : 0) << thread;
        taken += found;
    }
    return taken;
}

// Each round that completed has deleted its profile again.
long expect_made_profiles(const ledger& told, const slots& all)
{
    long taken = 0;
    for (size_t number = 0; number < made_profile_count; number++) {
        const long found = times_in_table(all, first_made_profile + number, UTM_ID_USER_PROFILE);
        EXPECT_LE(found, told.made[number] == hold::changing ? 1 : 0) << number;
        taken += found;
    }
    return taken;
}

// One that was killed may have kept what it wanted.
long expect_shared_ids(const ledger& told, const slots& all)
{
    long taken = 0;
    for (size_t number = 0; number < shared_count; number++) {
        const long found = times_in_table(all, first_shared + number, kind_of(number));
        const bool left = std::find(told.wanted.begin(), told.wanted.end(), number + 1) != told.wanted.end();
        EXPECT_TRUE(left || told.shared[number].grants > 0) << number;
        EXPECT_LE(found, left ? 1 : 0) << number;
        EXPECT_GE(found, told.shared[number].holder == 0 ? 0 : 1) << number;
        taken += found;
    }
    return taken;
}

long expect_lasting_ids(const ledger& told, const slots& all)
{
    for (size_t number = 0; number < lasting_count; number++) {
        EXPECT_EQ(told.lasting[number].grants, 1) << number;
        EXPECT_EQ(times_in_table(all, first_lasting + number, kind_of(number)), 1) << number;
    }
    return lasting_count;
}

// Whichever binding came last, it is one of the two that were asked for, and stands where its profile does.
void expect_bindings(const slots& all)
{
    for (size_t slot = 0; slot < 256; slot++) {
        const bool bound = slot >= profiles_at;
        const size_t choice = 2 * (slot - profiles_at);
        EXPECT_EQ(all[cf_bindings + slot] & ~1U, bound ? first_cf_policy + choice : 0) << slot;
        EXPECT_EQ(all[app_bindings + slot] & ~1U, bound ? first_app_policy + choice : 0) << slot;
    }
}

// What completed rounds have written, and one more line at most of each thread that was killed.
void expect_count(const ledger& told, long found)
{
    long least = 0;
    long killed = 0;
    for (size_t process = 0; process < process_count; process++) {
        least += told.progress[process];
        killed += fate_of(process) == fate::killed ? 1 : 0;
    }
    EXPECT_GE(found, least);
    EXPECT_LE(found, least + killed * static_cast<long>(threads_each));
}

} // namespace

void expect_registry(const ledger& told)
{
    EXPECT_EQ(semaphore_value(), 1);
    const slots all = all_slots();
    const long bound = 5 * profile_count; // each with two policies of each kind
    const long expected = bound + expect_own_ids(told, all) + expect_made_profiles(told, all) +
                          expect_shared_ids(told, all) + expect_lasting_ids(told, all);
    long taken = 0;
    for (size_t table : tables)
        taken +=
            256 - std::count(all.begin() + static_cast<long>(table), all.begin() + static_cast<long>(table + 256), 0);
    EXPECT_EQ(taken, expected) << "nothing else";
    expect_bindings(all);
}

void expect_whole_lines(const ledger& told, const std::string& log, const std::string& first, const std::string& others)
{
    const std::regex of_a_round(first);
    const std::regex other("earlier|" + others);
    long rounds_found = 0;
    for (const std::string& line : lines_of(log)) {
        if (std::regex_match(line, of_a_round))
            rounds_found++;
        else
            EXPECT_TRUE(std::regex_match(line, other)) << line;
    }
    expect_count(told, rounds_found);
}

void expect_lines_of_survivors()
{
    const unordered_lines all = lines_of(appcf_log());
    for (size_t thread = 0; thread < thread_count; thread++) {
        for (int round = 0; round < rounds && fate_of(thread / threads_each) != fate::killed; round++)
            EXPECT_EQ(all.count(numbered_line(thread, round)), 1U) << thread << ", " << round;
    }
}

void expect_accepted_rules(const ledger& told, const engine_daemon& ips)
{
    std::set<std::string> arrived;
    for (const sim::bytes& request : ips.requests())
        arrived.insert(request.size() < 31 ? "" : reinterpret_cast<const char*>(request.data()) + 20);
    for (size_t rule = 0; rule < told.accepted.size(); rule++)
        EXPECT_TRUE(!told.accepted[rule] || arrived.count(std::to_string(rule)) == 1) << rule;
}

} // namespace crowd
