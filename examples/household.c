/*
 * A household's day: two profiles in the morning, a tablet that moves from one to the other, all gone in the evening.
 * Prints what each call returned. With `morning`, `day` or `evening` it lives through that part alone.
 */
#include <kqutm.h>

#include <errno.h>
#include <stdio.h>
#include <string.h>

enum {
    children = 7,
    parents = 8,
    nobody = 9
};

static const uint8_t tablet[6] = {0x02, 0x42, 0xac, 0x11, 0x00, 0x05};
static const uint8_t console[6] = {0x02, 0x42, 0xac, 0x11, 0x00, 0x06};

#define SHOW(call) show(#call, call)

/* The result tells whether it worked, errno why not. */
static void show(const char* call, int32_t result)
{
    if (result == -1)
        printf("%s = -1 (%s)\n", call, strerror(errno));
    else
        printf("%s = %d\n", call, (int)result);
}

static void morning(void)
{
    SHOW(utm_user_profile_create(children));
    SHOW(utm_user_profile_create(parents));
}

static void day(void)
{
    SHOW(utm_user_profile_add_dev(children, tablet));
    SHOW(utm_user_profile_add_dev(children, console));
    SHOW(utm_user_profile_del_dev(children, tablet));
    SHOW(utm_user_profile_add_dev(parents, tablet));
    SHOW(utm_user_profile_add_dev(nobody, tablet));
}

static void evening(void)
{
    SHOW(utm_user_profile_delete(children));
    SHOW(utm_user_profile_flush());
}

static const struct part {
    const char* name;
    void (*live)(void);
} parts[] = {{"morning", morning}, {"day", day}, {"evening", evening}};

/* Lives through the part of this name, or through all without one. Returns how many it lived through. */
static int live(const char* name)
{
    int lived = 0;
    for (size_t at = 0; at < sizeof parts / sizeof parts[0]; at++) {
        if (name && strcmp(name, parts[at].name) != 0)
            continue;
        parts[at].live();
        lived++;
    }
    return lived;
}

int main(int count, char** arguments)
{
    if (live(count > 1 ? arguments[1] : NULL) > 0)
        return 0;
    fprintf(stderr, "usage: %s [morning|day|evening]\n", arguments[0]);
    return 2;
}
