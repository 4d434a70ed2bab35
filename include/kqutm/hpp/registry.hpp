/* The ID registry: what exists, and a look at the whole of it. */
#ifndef KQUTM_HPP_REGISTRY_HPP
#define KQUTM_HPP_REGISTRY_HPP

#include "../registry.h"
#include "result.hpp"
#include "types.hpp"

#include <cerrno>
#include <optional>

namespace kqutm {

/*
 * Whether an identifier is registered. A registry that cannot be locked counts as one that has it. An identifier that
 * is not there leaves a line in UTM_APPCF_LOG.
 */
template <utm_id_kind kind> result<bool> is_registered(identifier<kind> id)
{
    if (check_shm_utm_id(static_cast<uint32_t>(id.number()), kind) == 0)
        return true;
    if (errno == ENOENT)
        return false;
    return detail::failed();
}

/*
 * Holds the registry lock for as long as it lives; the kernel gives it back when the process ends. The wait for it has
 * no limit, and is taken up again when a signal ends it. Where another process has just made the semaphore, it is
 * looked for a second time.
 *
 * A thread that holds it and calls what takes it too waits for itself, for ever. Such are another registry_lock,
 * is_registered, registry_snapshot, and every operation that looks into the registry.
 */
class registry_lock {
public:
    registry_lock() : semaphore_(open()), held_(is_open() && lock(semaphore_)) {}
    ~registry_lock()
    {
        const int error = errno;
        if (held_)
            utm_id_config_unlock(semaphore_);
        errno = error;
    }
    registry_lock(const registry_lock&) = delete;
    registry_lock& operator=(const registry_lock&) = delete;

    explicit operator bool() const { return held_; }

    /* Whether there is a semaphore at all; else it could be neither found nor made. */
    bool is_open() const { return semaphore_ >= 0; }

private:
    /* One that is closed to this process exists at every look, so that no third one helps. */
    static int open()
    {
        const int semaphore = init_utm_id_config_sem();
        return semaphore < 0 && errno == EEXIST ? init_utm_id_config_sem() : semaphore;
    }

    static bool lock(int semaphore)
    {
        int returned;
        do
            returned = utm_id_config_lock(semaphore);
        while (returned != 0 && errno == EINTR);
        return returned == 0;
    }

    int semaphore_;
    bool held_;
};

/* A copy of the registry, taken under its lock. The first look since the gateway started clears the registry before. */
inline result<utm_id_registry> registry_snapshot()
{
    if (init_utm_id_shm() != 0)
        return detail::failed();
    const registry_lock lock;
    if (!lock)
        return detail::failed();
    utm_id_registry* segment = attach_utm_id_data_shm();
    if (segment == nullptr)
        return detail::failed();
    const utm_id_registry copy = *segment;
    detach_utm_id_data_shm(segment);
    return copy;
}

/*
 * What a creation left behind. The application daemon alone decides whether utm_user_profile_create succeeds, and each
 * refusal of another one takes the identifier out of the registry: a profile may be created, and not registered.
 */
template <class Id> struct created {
    Id id;
    bool registered;
};

namespace detail {

/* The result of a creation, checked. */
template <class Id> result<created<Id>> checked_creation(int returned)
{
    const std::optional<Id> id = Id::of(returned);
    if (!id)
        return failed(returned);
    const result<bool> registered = is_registered(*id);
    return created<Id>{*id, registered.value_or(false)};
}

/* In place of an identifier: the library is to take one from the clock. */
inline constexpr int32_t from_clock = 0;

} // namespace detail

} // namespace kqutm

#endif
