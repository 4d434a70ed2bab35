#include "devid/devid.h"

UTM_API int create_server_socket(void)
{
    return listen_at(engines::devid, __func__);
}

UTM_API int connect_deviceid(void)
{
    dialled devid = dial(engines::devid);
    switch (devid.reached) {
    case dial_step::socket:
        log_at_line(engines::devid, __func__, "Could not create socket\n");
        break;
    case dial_step::receive_limit:
        log_at_line(engines::devid, __func__, "setsockopt SO_RCVTIMEO fail\n");
        break;
    case dial_step::send_limit:
        log_at_line(engines::devid, __func__, "setsockopt SO_SNDTIMEO fail\n");
        break;
    case dial_step::connect:
        log_at_line(engines::devid, __func__, "connect failed. Error\n");
        break;
    case dial_step::connected:
        break;
    }
    return devid.fd.release();
}

unique_fd request_from_devid(const utm_devid_message& request, const char* operation, const char* not_sent)
{
    unique_fd devid(connect_deviceid());
    if (devid.get() < 0) {
        log_at_line(engines::devid, operation, "connect to deviceid fail\n");
        return devid;
    }
    if (send_record(engines::devid, devid, request))
        return devid;
    log_at_line(engines::devid, operation, not_sent);
    return unique_fd(-1);
}
