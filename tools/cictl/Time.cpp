#include "cictl/Time.h"

#include <cstdio>
#include <ctime>

std::string CIM::cictl::Now()
{
    std::timespec now{};
    std::timespec_get(&now, TIME_UTC);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    char seconds[32];
    std::strftime(seconds, sizeof seconds, "%FT%T", &local);
    char text[48];
    std::snprintf(text, sizeof text, "%s.%03ld", seconds, now.tv_nsec / 1'000'000);
    return text;
}
