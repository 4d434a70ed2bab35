// The profile mapping: user profiles with their bound content-filter policies, copied out of the registry.

#include "kqutm/profile.h"

#include "common/errno_guard.h"
#include "common/list.h"
#include "common/log.h"
#include "registry/registry.h"

#include <cstdio>
#include <cstdlib>

namespace {

utm_profile_mapping* create_node_of(uint32_t profile, uint32_t policy)
{
    auto* node = allocate_node<utm_profile_mapping>();
    if (node == nullptr) {
        print_line("malloc show queue node fail\n");
        return nullptr;
    }
    node->profile_id = static_cast<int32_t>(profile);
    node->cf_policy_id = static_cast<int32_t>(policy);
    return node;
}

// False when a node cannot be allocated.
bool copy_mapping(const utm_id_registry& ids, utm_profile_mapping* head)
{
    for (size_t slot = 0; slot < UTM_ID_SLOTS; ++slot) {
        if (ids.profiles[slot] == 0)
            continue;
        utm_profile_mapping* node = create_node_of(ids.profiles[slot], ids.cf_bindings[slot]);
        if (node == nullptr)
            return false;
        list_insert(node, head);
    }
    return true;
}

// The list, or null for an empty one, with errno as the reason.
utm_profile_mapping* null_when_empty(utm_profile_mapping* head, int reason)
{
    if (head->next != head)
        return head;
    free(head);
    return fail_with_null(reason);
}

} // namespace

UTM_API utm_profile_mapping* create_profile_mapping_node(void)
{
    return create_node_of(0, 0);
}

UTM_API utm_profile_mapping* dump_utm_profile_mapping(void)
{
    if (init_utm_id_shm() == -1)
        return nullptr;
    registry_guard registry;
    if (!registry.locked())
        return nullptr;
    const utm_id_registry* ids = registry.attach_unlogged();
    if (ids == nullptr)
        return nullptr;
    auto* head = create_list<utm_profile_mapping>();
    if (head == nullptr) {
        errno_guard keep;
        printf("%s(%d) list init fail\n", __func__, __LINE__);
        // Deliberate: a mapping without memory leaves the registry attached and locked.
        registry.abandon();
        return nullptr;
    }
    if (!copy_mapping(*ids, head)) {
        // Deliberate: a mapping that runs out of memory on the way keeps the registry too, and what it has is returned.
        registry.abandon();
        return null_when_empty(head, ENOMEM);
    }
    // Deliberate: a mapping that cannot be unlocked is returned even when it is empty.
    if (!registry.release())
        return head;
    return null_when_empty(head, 0);
}

UTM_API void utm_free_profile_mapping_list(utm_profile_mapping* head)
{
    if (head == nullptr)
        return;
    for (utm_profile_mapping* node = head->prev; node != head;) {
        utm_profile_mapping* previous = node->prev;
        free(node);
        node = previous;
    }
    free(head);
}
