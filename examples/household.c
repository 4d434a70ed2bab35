/* A household's day: profiles for children and parents, a tablet that moves from one to the other. */
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

static int failures = 0;

/* The result tells whether it worked, errno why not. */
static void tell(const char* what, int worked)
{
    int cause = errno;
    printf("%s: %s\n", what, worked ? "done" : strerror(cause));
    if (!worked)
        failures++;
}

static void move_device(const uint8_t* mac, int32_t from, int32_t to)
{
    tell("take the tablet from the children", utm_user_profile_del_dev(from, mac) == 0);
    tell("give the tablet to the parents", utm_user_profile_add_dev(to, mac) == 0);
}

int main(void)
{
    tell("create the children's profile", utm_user_profile_create(children) == children);
    tell("create the parents' profile", utm_user_profile_create(parents) == parents);
    tell("add the tablet", utm_user_profile_add_dev(children, tablet) == 0);
    tell("add the console", utm_user_profile_add_dev(children, console) == 0);
    move_device(tablet, children, parents);

    tell("refuse a device for nobody", utm_user_profile_add_dev(nobody, tablet) == -1 && errno == ENOENT);
    tell("refuse a second profile of the same number", utm_user_profile_create(parents) == -1 && errno == EEXIST);

    tell("delete the children's profile", utm_user_profile_delete(children) == 0);
    tell("delete every other profile", utm_user_profile_flush() == 0);
    return failures == 0 ? 0 : 1;
}
