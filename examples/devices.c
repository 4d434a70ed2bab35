/*
 * Which devices the gateway knows: a list of an engine, which may have broken off. devices.cpp does more with it,
 * through the layer for C++20.
 */
#include <kqutm.h>

#include <errno.h>
#include <stdio.h>
#include <string.h>

/* Texts of a device may lack their terminator. */
#define TEXT(field) (int)sizeof(field), field

int main(void)
{
    struct utm_device* list = utm_devid_get_device_list();
    const int cause = errno;

    if (list == NULL && cause != 0) {
        fprintf(stderr, "cannot list the devices: %s\n", strerror(cause));
        return 1;
    }
    if (list == NULL) {
        puts("no devices");
        return 0;
    }
    for (const struct utm_device* at = list->next; at != list; at = at->next)
        printf("%.*s %.*s\n", TEXT(at->record.mac), TEXT(at->record.name));
    utm_devid_free_device_list(list);
    if (cause == ETIMEDOUT || cause == ENODATA || cause == EPROTO || cause == EINTR || cause == ECONNRESET ||
        cause == ENOMEM) {
        fprintf(stderr, "there may be more: %s\n", strerror(cause));
        return 1;
    }
    return 0;
}
