#include "Harmless.h"

#include "Scalars.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace CIM::json
{
namespace
{
// What may change how a terminal shows what follows: the C0 and C1 controls, and what turns writing directions around.
bool IsDangerous(unsigned unit)
{
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x200E || unit == 0x200F ||
           (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

/// Of several bytes only the first one begins a character.
bool BeginsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }
} // namespace

std::string Harmless(std::string_view text)
{
    const std::vector<unsigned short> units = UnitsFromUtf8(text);
    std::string safe;
    safe.reserve(text.size());
    for (std::size_t i = 0; i < units.size(); ++i)
    {
        if (IsDangerous(units[i]))
        {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, units[i] < 0x100 ? "\\x%02x" : "\\u%04x", units[i]);
            safe += escaped;
            continue;
        }
        const bool isPair = units[i] >= 0xD800 && units[i] < 0xDC00; // made from UTF-8, so that the other half follows
        safe += Utf8FromUnits({units.data() + i, isPair ? 2u : 1u}).value_or("\xEF\xBF\xBD");
        i += isPair ? 1 : 0;
    }
    return safe;
}

std::size_t CharactersOf(std::string_view utf8)
{
    return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), BeginsCharacter));
}

std::string Shortened(std::string_view utf8, std::size_t mostCharacters)
{
    std::size_t count = 0;
    const auto end = std::find_if(utf8.begin(), utf8.end(),
                                  [&](char byte) { return BeginsCharacter(byte) && ++count > mostCharacters; });
    return std::string(utf8.begin(), end) + (end != utf8.end() ? "..." : "");
}
} // namespace CIM::json
