#include "Duration.h"

#include <charconv>
#include <cmath>

namespace CIM
{
std::optional<TMilliseconds> DurationFrom(std::string_view text)
{
    double number = -1;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
    const std::string_view unit(rest, static_cast<std::size_t>(end - rest));
    if (error != std::errc() || !std::isfinite(number) || number < 0 || (!unit.empty() && unit != "s" && unit != "ms"))
    {
        return std::nullopt;
    }
    return TMilliseconds(unit == "ms" ? number : number * 1'000);
}

std::optional<std::chrono::milliseconds> PatienceFrom(std::string_view text)
{
    constexpr TMilliseconds LEAST{1};
    constexpr TMilliseconds GREATEST{2e9};
    const std::optional<TMilliseconds> time = DurationFrom(text);
    if (!time || *time < LEAST || *time > GREATEST)
    {
        return std::nullopt;
    }
    return std::chrono::milliseconds(std::lround(time->count()));
}
} // namespace CIM
