/*
 * The UTM client library for C++20: types that cannot be mixed up, lists that release themselves, and results that hold
 * a value or the cause. A layer of headers over kqutm.h, whose contracts hold: what a call does, how long it may block,
 * what stays behind on failure. Nothing here throws, but for what a std::string without memory throws.
 *
 *     const auto id = kqutm::profile_id::of(7); // nothing for a number that is no identifier
 *     if (!id)
 *         return;
 *     const auto created = kqutm::profiles::create(*id);
 *     if (!created)
 *         std::cerr << created.error().code().message();
 */
#ifndef KQUTM_HPP
#define KQUTM_HPP

#if __cplusplus < 202002L
#error "kqutm.hpp needs C++20"
#endif

#include "kqutm/hpp/common.hpp"
#include "kqutm/hpp/engines.hpp"
#include "kqutm/hpp/lists.hpp"
#include "kqutm/hpp/policies.hpp"
#include "kqutm/hpp/profiles.hpp"
#include "kqutm/hpp/registry.hpp"
#include "kqutm/hpp/result.hpp"
#include "kqutm/hpp/text.hpp"
#include "kqutm/hpp/types.hpp"

#endif
