#include "Text.h"

#include <cstdint>

namespace CIM::sim
{
std::u16string ToUnits(std::string_view utf8)
{
    std::u16string units;
    for (std::size_t at = 0; at < utf8.size();)
    {
        const auto lead = static_cast<unsigned char>(utf8[at]);
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        std::uint32_t point = length == 1 ? lead : lead & (0x7Fu >> length);
        for (std::size_t i = 1; i < length && at + i < utf8.size(); ++i)
        {
            point = point << 6 | (static_cast<unsigned char>(utf8[at + i]) & 0x3Fu);
        }
        at += length;
        if (point < 0x10000)
        {
            units.push_back(static_cast<char16_t>(point));
            continue;
        }
        point -= 0x10000;
        units.push_back(static_cast<char16_t>(0xD800 + (point >> 10 & 0x3FF)));
        units.push_back(static_cast<char16_t>(0xDC00 + (point & 0x3FF)));
    }
    return units;
}

std::string ToUtf8(std::u16string_view units)
{
    std::string utf8;
    for (std::size_t at = 0; at < units.size(); ++at)
    {
        std::uint32_t point = units[at];
        const bool isHigh = point >= 0xD800 && point < 0xDC00;
        const bool isPair = isHigh && at + 1 < units.size() && units[at + 1] >= 0xDC00 && units[at + 1] < 0xE000;
        if (isPair)
        {
            point = 0x10000 + ((point - 0xD800) << 10) + (units[++at] - 0xDC00u);
        }
        else if (point >= 0xD800 && point < 0xE000)
        {
            point = 0xFFFD;
        }
        const auto tail = [&](int shift) { utf8.push_back(static_cast<char>(0x80 | (point >> shift & 0x3F))); };
        if (point < 0x80)
        {
            utf8.push_back(static_cast<char>(point));
        }
        else if (point < 0x800)
        {
            utf8.push_back(static_cast<char>(0xC0 | point >> 6));
            tail(0);
        }
        else if (point < 0x10000)
        {
            utf8.push_back(static_cast<char>(0xE0 | point >> 12));
            tail(6);
            tail(0);
        }
        else
        {
            utf8.push_back(static_cast<char>(0xF0 | point >> 18));
            tail(12);
            tail(6);
            tail(0);
        }
    }
    return utf8;
}
} // namespace CIM::sim
