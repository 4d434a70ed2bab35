/*
 * A program that works without the library, and does more where it is installed: it opens the library when it runs
 * instead of being linked to it. Prints whether profile 7 could be created and is registered.
 */
#include <kqutm/profile.h>
#include <kqutm/registry.h>

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

/* The two functions that it uses, as their headers declare them. */
typedef int32_t (*profile_create)(int32_t id);
typedef int (*id_check)(uint32_t id, uint32_t kind);

/* Finds a function of the library. C has no conversion from dlsym's result to a function, so its bytes are copied. */
static int find(void* library, const char* name, void* function, size_t size)
{
    void* found = dlsym(library, name);

    memcpy(function, &found, size);
    return found != NULL;
}

int main(void)
{
    void* library = dlopen("libkqutm.so.1", RTLD_NOW);
    profile_create create = NULL;
    id_check check = NULL;

    if (!library) {
        puts("without the library");
        return 0;
    }
    if (!find(library, "utm_user_profile_create", &create, sizeof create) ||
        !find(library, "check_shm_utm_id", &check, sizeof check)) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    printf("created: %d\n", (int)create(7));
    printf("registered: %s\n", check(7, UTM_ID_USER_PROFILE) == 0 ? "yes" : "no");
    dlclose(library);
    return 0;
}
