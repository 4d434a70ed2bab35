/*
 * A program whose own functions have the names of routines in the library. The library must not call them.
 * Exits with 0 when an operation of the registry and one of each engine work all the same.
 */
#include <kqutm/av.h>
#include <kqutm/devid.h>
#include <kqutm/ips.h>
#include <kqutm/ir.h>
#include <kqutm/profile.h>

#include <stdlib.h>

#define OWN(name)                                                                                                      \
    void name(void);                                                                                                   \
    void name(void)                                                                                                    \
    {                                                                                                                  \
        abort();                                                                                                       \
    }

OWN(attach_utm_id_data_shm)
OWN(av_create_node)
OWN(av_create_server_socket)
OWN(check_shm_utm_id)
OWN(clear_utm_id_shm)
OWN(connect_avd)
OWN(connect_deviceid)
OWN(connect_ips)
OWN(create_dev)
OWN(create_server_socket)
OWN(detach_utm_id_data_shm)
OWN(get_unique_id)
OWN(init_utm_id_config_sem)
OWN(init_utm_id_shm)
OWN(ips_create_node)
OWN(ips_create_server_socket)
OWN(ir_connect)
OWN(ir_exchange)
OWN(reset_utm_id_shm)
OWN(send_utm_config_event)
OWN(send_utm_event_and_get_response)
OWN(utm_id_config_lock)
OWN(utm_id_config_unlock)

/* Whether a list came with an entry. */
#define FILLED(list) ((list) != NULL && (list)->next != (list))

#define RELEASE(node_type, list)                                                                                       \
    while ((list)->next != (list)) {                                                                                   \
        struct node_type* first = (list)->next;                                                                        \
        (list)->next = first->next;                                                                                    \
        free(first);                                                                                                   \
    }                                                                                                                  \
    free(list)

int main(void)
{
    struct utm_ips_rule* rules = utm_ips_show_customizelist();
    struct utm_device* devices = utm_devid_get_device_list();
    struct utm_av_entry* entries = utm_av_show_whitelist();

    if (!FILLED(rules) || !FILLED(devices) || !FILLED(entries) || utm_ir_activate(1) != 0)
        return 1;
    RELEASE(utm_ips_rule, rules);
    RELEASE(utm_av_entry, entries);
    utm_devid_free_device_list(devices);
    return utm_user_profile_create(7) == 7 ? 0 : 1;
}
