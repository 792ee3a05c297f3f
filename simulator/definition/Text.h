#pragma once

#include <ciapi/CIGeneralDataType.h>

#include <string>
#include <string_view>
#include <vector>

// Texts of the model are UTF-16 code units, whatever they hold: NULs and lone surrogates are kept.

namespace CIM::sim
{
/// Reads UTF-8 that is known to be well formed, as the JSON parser leaves it.
std::u16string ToUnits(std::string_view utf8);

/// For showing; a lone surrogate becomes U+FFFD.
std::string ToUtf8(std::u16string_view units);

inline void Assign(TCIText& out, std::u16string_view units) { out.text.assign(units.begin(), units.end()); }

inline TCIText MakeText(std::u16string_view units)
{
    TCIText text;
    Assign(text, units);
    return text;
}

inline std::u16string UnitsOf(const TCIText& text) { return {text.text.begin(), text.text.end()}; }

inline std::basic_string<unsigned short> WideOf(std::u16string_view units) { return {units.begin(), units.end()}; }
} // namespace CIM::sim
