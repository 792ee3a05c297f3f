#pragma once

#include <ciapi/CIGeneralDataType.h>

#include <string>
#include <string_view>
#include <vector>

// Texts of the model are UTF-16 code units, whatever they hold: NULs and lone surrogates are kept.

namespace CIM::sim
{
/// What is no UTF-8 becomes U+FFFD.
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
