#include "cictl/Time.h"

#include <cstdio>
#include <ctime>

namespace CIM::cictl
{
std::string TimeText(std::int64_t nanoseconds)
{
    constexpr std::int64_t SECOND = 1'000'000'000;
    const std::int64_t part = (nanoseconds % SECOND + SECOND) % SECOND;
    const auto seconds = static_cast<std::time_t>((nanoseconds - part) / SECOND);
    std::tm local{};
    localtime_r(&seconds, &local);
    char date[64];
    std::strftime(date, sizeof date, "%FT%T", &local);
    char text[80];
    std::snprintf(text, sizeof text, "%s.%03d", date, static_cast<int>(part / 1'000'000));
    return text;
}

std::string Now()
{
    std::timespec now{};
    std::timespec_get(&now, TIME_UTC);
    return TimeText(now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec);
}
} // namespace CIM::cictl
