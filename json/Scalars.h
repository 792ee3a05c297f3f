#pragma once

#include "json/Json.h"

#include <ciapi/CIEnumNames.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The JSON forms of what is not made of anything smaller. All functions are reentrant; what reads throws TCJsonError.

namespace CIM::json
{
/// One enumeration, whichever it is.
struct TSEnumeration
{
    struct TSEnumerator
    {
        std::int64_t value;
        std::string_view name;
    };
    std::string_view type;
    std::vector<TSEnumerator> enumerators;
};

/// The enumeration of a type, from its table of names.
template <class E>
const TSEnumeration& Enumeration()
{
    static const TSEnumeration enumeration = []
    {
        TSEnumeration made{TSEnumNames<E>::type, {}};
        for (const auto& entry : TSEnumNames<E>::entries)
        {
            made.enumerators.push_back({entry.value, entry.name});
        }
        return made;
    }();
    return enumeration;
}

TJson NumberToJson(std::int64_t number);
TJson NumberToJson(std::uint64_t number);
/// Integers: a number, or a text that is one in decimal or, after 0x, hexadecimal digits.
std::int64_t SignedFromJson(const TJson& json, std::int64_t least, std::int64_t greatest, const TCJsonPath& path);
std::uint64_t UnsignedFromJson(const TJson& json, std::uint64_t greatest, const TCJsonPath& path);
/// true, false, 1, 0.
bool BoolFromJson(const TJson& json, const TCJsonPath& path);

/// Enumerations: the name, or the number when the value has none. Both are read.
TJson EnumToJson(const TSEnumeration& enumeration, std::int64_t value);
std::int64_t EnumFromJson(const TSEnumeration& enumeration, const TJson& json, const TCJsonPath& path);

/// Byte strings: two hexadecimal digits a byte; blanks and colons between bytes and a leading 0x are read, too, and
/// {"text": "..."} for the bytes of that text in UTF-8.
std::string BytesToHex(std::span<const unsigned char> bytes);
std::vector<unsigned char> BytesFromJson(const TJson& json, const TCJsonPath& path);

/// Texts: as they are when they are UTF-8, and otherwise {"bytes": "<hex>"}.
TJson TextToJson(std::string_view text);
std::string TextFromJson(const TJson& json, const TCJsonPath& path);

/// 16-bit texts: as they are when they are UTF-16, and otherwise {"codeUnits": [numbers]}. Read, too: the numbers alone
/// as a list, and {"text": a text, "times": n} for a text that repeats itself, at most 65536 times.
TJson WideToJson(std::span<const unsigned short> units);
std::vector<unsigned short> WideFromJson(const TJson& json, const TCJsonPath& path);

/// Conversions that refuse what they cannot carry over and back.
std::optional<std::string> Utf8FromUnits(std::span<const unsigned short> units);
std::vector<unsigned short> UnitsFromUtf8(std::string_view utf8);
bool IsUtf8(std::string_view text);
} // namespace CIM::json
