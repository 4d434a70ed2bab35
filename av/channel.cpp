#include "av/av.h"

UTM_API int av_create_server_socket(void)
{
    return listen_at(engines::av, __func__);
}

UTM_API int connect_avd(void)
{
    return dial(engines::av).fd.release();
}

unique_fd request_from_av(const utm_av_message& request)
{
    unique_fd av(connect_avd());
    if (av.get() < 0 || send_record(engines::av, av, request))
        return av;
    return unique_fd(-1);
}
