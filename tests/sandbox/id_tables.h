#pragma once

#include "kqutm/registry.h"

#include "tests/sandbox/registry.h"

// The tables of identifiers as the tests of allocation, check and release see them.

inline constexpr char attach_failed[] = "attach_utm_id_data_shm() fail\n";

struct id_table_of_kind {
    uint32_t kind;
    size_t begin;
};

// Every kind that is neither 1 nor 2 is an application policy.
inline constexpr id_table_of_kind tables[] = {{UTM_ID_USER_PROFILE, profiles},
                                              {UTM_ID_CF_POLICY, cf_policies},
                                              {UTM_ID_APP_POLICY, app_policies},
                                              {0, app_policies},
                                              {4, app_policies},
                                              {0xffffffff, app_policies}};

inline size_t taken_slots()
{
    size_t taken = 0;
    for (uint32_t value : all_slots())
        taken += value != 0;
    return taken;
}
