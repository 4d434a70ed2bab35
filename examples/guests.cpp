// Profiles for guests that go when the program does, and a look into the registry while it is locked.
#include <kqutm.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>
#include <vector>

namespace {

using mac_address = std::array<uint8_t, 6>;

[[noreturn]] void fail(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

class guest_profile {
public:
    explicit guest_profile(int32_t id) : id_(utm_user_profile_create(id))
    {
        if (id_ == -1)
            fail("cannot create profile " + std::to_string(id));
    }
    ~guest_profile() { utm_user_profile_delete(id_); }
    guest_profile(const guest_profile&) = delete;
    guest_profile& operator=(const guest_profile&) = delete;

    void add(const mac_address& mac) const
    {
        if (utm_user_profile_add_dev(id_, mac.data()) != 0)
            fail("cannot add a device to profile " + std::to_string(id_));
    }

private:
    int32_t id_;
};

class registry_lock {
public:
    registry_lock() : semaphore_(init_utm_id_config_sem())
    {
        if (semaphore_ < 0 || utm_id_config_lock(semaphore_) != 0)
            fail("cannot lock the registry");
    }
    ~registry_lock() { utm_id_config_unlock(semaphore_); }
    registry_lock(const registry_lock&) = delete;
    registry_lock& operator=(const registry_lock&) = delete;

private:
    int semaphore_;
};

std::vector<uint32_t> registered_profiles()
{
    registry_lock lock;
    utm_id_registry* registry = attach_utm_id_data_shm();
    if (registry == nullptr)
        fail("cannot attach the registry");
    std::vector<uint32_t> profiles;
    for (uint32_t id : registry->profiles) {
        if (id != 0)
            profiles.push_back(id);
    }
    detach_utm_id_data_shm(registry);
    return profiles;
}

void show_profiles(const char* when)
{
    std::printf("%s:", when);
    for (uint32_t id : registered_profiles())
        std::printf(" %u", id);
    std::printf("\n");
}

void receive_guests()
{
    guest_profile friends(20);
    guest_profile family(10);
    friends.add({0x02, 0x42, 0xac, 0x11, 0x00, 0x07});
    family.add({0x02, 0x42, 0xac, 0x11, 0x00, 0x08});
    show_profiles("while guests are here");
}

} // namespace

int main()
{
    try {
        receive_guests();
        show_profiles("after they left");
    } catch (const std::system_error& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
