#include "tools/utmctl/time_text.h"

#include <cstdio>
#include <ctime>

std::string time_now()
{
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    tm parts = {};
    gmtime_r(&time.tv_sec, &parts);
    char date[24];
    strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &parts);
    char text[40];
    snprintf(text, sizeof text, "%s.%03ldZ", date, time.tv_nsec / 1'000'000);
    return text;
}
