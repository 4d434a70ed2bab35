/*
 * A program whose own functions have the names of routines in the library. The library must not call them.
 * Exits with 0 when utm_user_profile_create works all the same.
 */
#include <kqutm/profile.h>

#include <stdlib.h>

#define OWN(name)                                                                                                      \
    void name(void);                                                                                                   \
    void name(void)                                                                                                    \
    {                                                                                                                  \
        abort();                                                                                                       \
    }

OWN(attach_utm_id_data_shm)
OWN(check_shm_utm_id)
OWN(clear_utm_id_shm)
OWN(detach_utm_id_data_shm)
OWN(get_unique_id)
OWN(init_utm_id_config_sem)
OWN(init_utm_id_shm)
OWN(reset_utm_id_shm)
OWN(send_utm_config_event)
OWN(send_utm_event_and_get_response)
OWN(utm_id_config_lock)
OWN(utm_id_config_unlock)

int main(void)
{
    return utm_user_profile_create(7) == 7 ? 0 : 1;
}
