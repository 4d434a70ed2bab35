#include "ips/ips.h"

UTM_API int ips_create_server_socket(void)
{
    return listen_at(engines::ips, __func__);
}

UTM_API int connect_ips(void)
{
    dialled ips = dial(engines::ips);
    switch (ips.reached) {
    case dial_step::socket:
        log_at_line(engines::ips, __func__, "Could not create socket\n");
        break;
    case dial_step::receive_limit:
        log_at_line(engines::ips, __func__, "setsockopt fail\n");
        break;
    case dial_step::connect:
        log_at_line(engines::ips, __func__, "connect failed. Error\n");
        break;
    case dial_step::send_limit: // this engine has none
    case dial_step::connected:
        break;
    }
    return ips.fd.release();
}

unique_fd request_from_ips(const utm_ips_message& request, const char* operation)
{
    unique_fd ips(connect_ips());
    if (ips.get() < 0) {
        log_at_line(engines::ips, operation, "connect to ips fail\n");
        return ips;
    }
    if (send_record(engines::ips, ips, request))
        return ips;
    log_at_line(engines::ips, operation, "send fail\n");
    return unique_fd(-1);
}
