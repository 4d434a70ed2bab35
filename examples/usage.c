/*
 * How long a profile may use the net, and what it has looked at: values, and lists in two of their forms. Takes the
 * guests of a home, profile 3.
 */
#include <kqutm.h>

#include <errno.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum {
    guests = 3,
    saturday = 6
};

static int fail(const char* what)
{
    fprintf(stderr, "%s: %s\n", what, strerror(errno));
    return 1;
}

static int set_limits(void)
{
    uint32_t daily = 0;

    if (utm_user_profile_set_daily_limit(guests, 120) != 0 ||
        utm_user_profile_set_weekday_daily_limit(guests, saturday, 180) != 0)
        return fail("cannot set the limits");
    if (utm_user_profile_get_daily_limit(guests, &daily) != 0)
        return fail("cannot read the limit");
    printf("every day: %u\n", (unsigned)daily);
    return 0;
}

/* The links of this list come first in its entries, so a link is also the address of its entry. */
static int show_weekdays(void)
{
    struct utm_weekday_limit_entry* head = utm_user_profile_get_weekday_daily_limit(guests);

    if (head == NULL)
        return fail("cannot list the weekdays");
    for (struct utm_list_links* at = head->links.next; at != &head->links; at = at->next) {
        const struct utm_weekday_limit_entry* entry = (const struct utm_weekday_limit_entry*)at;
        printf("weekday %u: %u\n", (unsigned)entry->first_value, (unsigned)entry->second_value);
    }
    utm_user_profile_free_weekday_limit_list(head);
    return 0;
}

/* Here they come last, a text may lack its terminator, and the receiver releases each entry. */
static int show_domains(void)
{
    struct utm_domain_browse_entry* head = utm_user_profile_get_browse_domain_list(guests);

    if (head == NULL)
        return fail("cannot list the domains");
    for (struct utm_list_links* at = head->links.next; at != &head->links;) {
        struct utm_domain_browse_entry* entry =
            (struct utm_domain_browse_entry*)((char*)at - offsetof(struct utm_domain_browse_entry, links));
        printf("%.*s: %u\n", (int)sizeof entry->domain, entry->domain, (unsigned)entry->value);
        at = at->next;
        free(entry);
    }
    free(head);
    return 0;
}

int main(void)
{
    int failed = set_limits();

    if (!failed)
        failed = show_weekdays();
    if (!failed)
        failed = show_domains();
    return failed;
}
