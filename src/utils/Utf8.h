#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// UTF-8 and UTF-16, one code point after the other.

namespace CIM::utf8
{
inline constexpr char32_t REPLACEMENT = 0xFFFD; ///< stands for what is no code point

/// The code point at the front of a text that is not empty.
/// \return how many bytes it has; 0 when they are no UTF-8
inline std::size_t Decode(std::string_view text, char32_t& codePoint)
{
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    if (at(0) < 0x80)
    {
        codePoint = at(0);
        return 1;
    }
    const std::size_t length = at(0) >= 0xF0 ? 4 : at(0) >= 0xE0 ? 3 : 2;
    if (at(0) < 0xC2 || at(0) > 0xF4 || text.size() < length)
    {
        return 0;
    }
    codePoint = at(0) & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i)
    {
        if ((at(i) & 0xC0) != 0x80)
        {
            return 0;
        }
        codePoint = codePoint << 6 | (at(i) & 0x3F);
    }
    const char32_t least = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    const bool isSurrogate = codePoint >= 0xD800 && codePoint < 0xE000;
    return codePoint < least || codePoint > 0x10FFFF || isSurrogate ? 0 : length;
}

inline void Encode(char32_t codePoint, std::string& out)
{
    const auto put = [&](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (codePoint < 0x80)
    {
        put(codePoint);
        return;
    }
    const int more = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
    put((0xFF00u >> (more + 1) & 0xFF) | codePoint >> 6 * more);
    for (int shift = 6 * (more - 1); shift >= 0; shift -= 6)
    {
        put(0x80 | (codePoint >> shift & 0x3F));
    }
}

/// The code point at a place in UTF-16.
/// \return how many units it has; 0 for a surrogate without its other half
template <class Units>
std::size_t DecodeUnits(const Units& units, std::size_t at, char32_t& codePoint)
{
    codePoint = static_cast<char16_t>(units[at]);
    if (codePoint < 0xD800 || codePoint >= 0xE000)
    {
        return 1;
    }
    const char32_t next = at + 1 < units.size() ? static_cast<char16_t>(units[at + 1]) : 0;
    if (codePoint >= 0xDC00 || next < 0xDC00 || next >= 0xE000)
    {
        return 0;
    }
    codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (next - 0xDC00);
    return 2;
}

/// A surrogate without its other half becomes U+FFFD.
template <class Units>
std::string FromUnits(const Units& units)
{
    std::string text;
    text.reserve(units.size());
    for (std::size_t at = 0; at < units.size();)
    {
        char32_t codePoint = 0;
        const std::size_t length = DecodeUnits(units, at, codePoint);
        Encode(length == 0 ? REPLACEMENT : codePoint, text);
        at += length == 0 ? 1 : length;
    }
    return text;
}

/// Each byte that belongs to no code point becomes U+FFFD. Allocates once, so that nothing of a PIN stays behind.
template <class Units>
Units ToUnits(std::string_view utf8)
{
    using TUnit = typename Units::value_type;
    Units units;
    units.reserve(utf8.size());
    while (!utf8.empty())
    {
        char32_t codePoint = 0;
        const std::size_t length = Decode(utf8, codePoint);
        codePoint = length == 0 ? REPLACEMENT : codePoint;
        utf8.remove_prefix(length == 0 ? 1 : length);
        if (codePoint >= 0x10000)
        {
            units.push_back(static_cast<TUnit>(0xD800 + ((codePoint - 0x10000) >> 10)));
            codePoint = 0xDC00 + (codePoint & 0x3FF);
        }
        units.push_back(static_cast<TUnit>(codePoint));
    }
    return units;
}
} // namespace CIM::utf8
