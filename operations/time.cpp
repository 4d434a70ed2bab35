#include "operations/time.h"

#include <ctime>

namespace operations {

std::string time_now(size_t decimals)
{
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    tm parts = {};
    gmtime_r(&time.tv_sec, &parts);
    char date[32];
    strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &parts);
    const std::string fraction = std::to_string(1'000'000'000 + time.tv_nsec).substr(1, decimals);
    return date + ('.' + fraction) + 'Z';
}

} // namespace operations
