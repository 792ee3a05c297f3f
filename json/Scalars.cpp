#include "json/Scalars.h"

#include "commandline/Nearest.h"
#include "utils/Utf8.h"
#include "json/Object.h"
#include "json/Secret.h"

#include <charconv>
#include <limits>

namespace CIM::json
{
namespace
{
constexpr std::uint64_t MOST_TIMES = 65'536;

template <class T>
std::optional<T> ParseInteger(std::string_view text)
{
    const bool isNegative = text.starts_with('-');
    if (isNegative)
    {
        text.remove_prefix(1);
    }
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X"))
    {
        text.remove_prefix(2);
        base = 16;
    }
    // The sign goes back to where from_chars wants it, so that the least number is read without overflow.
    const std::string digits = (isNegative ? "-" : "") + std::string(text);
    T value{};
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    if (error != std::errc() || end != digits.data() + digits.size() || text.starts_with('-'))
    {
        return std::nullopt;
    }
    return value;
}

template <class T>
T IntegerFromJson(const TJson& json, T least, T greatest, const TCJsonPath& path)
{
    std::optional<T> value;
    if (json.is_number_unsigned())
    {
        const auto number = json.get<std::uint64_t>();
        if (number <= static_cast<std::uint64_t>(std::numeric_limits<T>::max()))
        {
            value = static_cast<T>(number);
        }
    }
    else if (json.is_number_integer())
    {
        const auto number = json.get<std::int64_t>();
        if (number >= 0 || std::numeric_limits<T>::is_signed)
        {
            value = static_cast<T>(number);
        }
    }
    else if (json.is_string())
    {
        const std::string& text = json.get_ref<const std::string&>();
        value = ParseInteger<T>(text);
        if (!value && !ParseInteger<std::int64_t>(text) && !ParseInteger<std::uint64_t>(text))
        {
            throw TCJsonError(path, "\"" + text + "\" is no integer");
        }
    }
    else
    {
        throw TCJsonError(path, std::string("an integer is needed, not ") + KindOf(json));
    }
    if (!value || *value < least || *value > greatest)
    {
        throw TCJsonError(path, (json.is_string() ? json.get<std::string>() : json.dump()) + " is not within " +
                                    std::to_string(least) + " to " + std::to_string(greatest));
    }
    return *value;
}

int HexDigit(char c)
{
    if (c >= '0' && c <= '9')
    {
        return c - '0';
    }
    c = static_cast<char>(c | 0x20);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}
} // namespace

TJson NumberToJson(std::int64_t number) { return number; }
TJson NumberToJson(std::uint64_t number) { return number; }

std::int64_t SignedFromJson(const TJson& json, std::int64_t least, std::int64_t greatest, const TCJsonPath& path)
{
    return IntegerFromJson<std::int64_t>(json, least, greatest, path);
}

std::uint64_t UnsignedFromJson(const TJson& json, std::uint64_t greatest, const TCJsonPath& path)
{
    return IntegerFromJson<std::uint64_t>(json, 0, greatest, path);
}

bool BoolFromJson(const TJson& json, const TCJsonPath& path)
{
    if (json.is_boolean())
    {
        return json.get<bool>();
    }
    if (json == "true" || json == 1 || json == "1")
    {
        return true;
    }
    if (json == "false" || json == 0 || json == "0")
    {
        return false;
    }
    throw TCJsonError(path,
                      "true or false is needed, not " + json.dump(-1, ' ', true, TJson::error_handler_t::replace));
}

TJson EnumToJson(const TSEnumeration& enumeration, std::int64_t value)
{
    for (const auto& [number, name] : enumeration.enumerators)
    {
        if (number == value)
        {
            return name;
        }
    }
    return value;
}

std::int64_t EnumFromJson(const TSEnumeration& enumeration, const TJson& json, const TCJsonPath& path)
{
    if (json.is_string())
    {
        const std::string& text = json.get_ref<const std::string&>();
        for (const auto& [number, name] : enumeration.enumerators)
        {
            if (name == text)
            {
                return number;
            }
        }
        if (!ParseInteger<std::int64_t>(text))
        {
            const auto name = [](const TSEnumeration::TSEnumerator& enumerator) { return enumerator.name; };
            throw TCJsonError(path, "\"" + text + "\" is no value of " + std::string(enumeration.type) + "; " +
                                        ThereAre(NamesOf(enumeration.enumerators, name), text));
        }
    }
    return SignedFromJson(json, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max(),
                          path);
}

std::string BytesToHex(std::span<const unsigned char> bytes)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const unsigned char byte : bytes)
    {
        text += DIGITS[byte >> 4];
        text += DIGITS[byte & 15];
    }
    return text;
}

std::vector<unsigned char> BytesFromJson(const TJson& json, const TCJsonPath& path)
{
    if (json.is_object())
    {
        std::string characters;
        const TCWipeAtEnd wipe(characters); // a PIN is bytes
        TCJsonObject(json, path).Needed("text", characters).Done();
        return {characters.begin(), characters.end()};
    }
    if (!json.is_string())
    {
        throw TCJsonError(path,
                          std::string("bytes are needed as hexadecimal text, or {\"text\"}, not ") + KindOf(json));
    }
    std::string_view text = json.get_ref<const std::string&>();
    if (text.starts_with("0x") || text.starts_with("0X"))
    {
        text.remove_prefix(2);
    }
    std::vector<unsigned char> bytes;
    bytes.reserve(text.size() / 2);
    while (!text.empty())
    {
        if (text[0] == ' ' || text[0] == ':')
        {
            text.remove_prefix(1);
            continue;
        }
        const int high = HexDigit(text[0]);
        const int low = text.size() > 1 ? HexDigit(text[1]) : -1;
        if (high < 0 || low < 0)
        {
            throw TCJsonError(path, "two hexadecimal digits are needed for byte " + std::to_string(bytes.size()));
        }
        bytes.push_back(static_cast<unsigned char>(high << 4 | low));
        text.remove_prefix(2);
    }
    return bytes;
}

bool IsUtf8(std::string_view text)
{
    while (!text.empty())
    {
        char32_t codePoint = 0;
        const std::size_t length = utf8::Decode(text, codePoint);
        if (length == 0)
        {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

TJson TextToJson(std::string_view text)
{
    if (IsUtf8(text))
    {
        return text;
    }
    return TJson::object({{"bytes", BytesToHex({reinterpret_cast<const unsigned char*>(text.data()), text.size()})}});
}

std::string TextFromJson(const TJson& json, const TCJsonPath& path)
{
    if (json.is_string())
    {
        return json.get<std::string>();
    }
    if (json.is_object() && json.size() == 1 && json.contains("bytes"))
    {
        const std::vector<unsigned char> bytes = BytesFromJson(json["bytes"], TCJsonPath(path, "bytes"));
        return {bytes.begin(), bytes.end()};
    }
    throw TCJsonError(path, std::string("a text is needed, or {\"bytes\": \"<hex>\"}, not ") + KindOf(json));
}

std::optional<std::string> Utf8FromUnits(std::span<const unsigned short> units)
{
    std::string text;
    text.reserve(units.size());
    for (std::size_t at = 0; at < units.size();)
    {
        char32_t codePoint = 0;
        const std::size_t length = utf8::DecodeUnits(units, at, codePoint);
        if (length == 0)
        {
            return std::nullopt;
        }
        utf8::Encode(codePoint, text);
        at += length;
    }
    return text;
}

// JSON's parser lets through no text that is no UTF-8; a terminal may.
std::vector<unsigned short> UnitsFromUtf8(std::string_view utf8)
{
    return utf8::ToUnits<std::vector<unsigned short>>(utf8);
}

TJson WideToJson(std::span<const unsigned short> units)
{
    if (std::optional<std::string> text = Utf8FromUnits(units))
    {
        return *std::move(text);
    }
    return TJson::object({{"codeUnits", std::vector<unsigned short>(units.begin(), units.end())}});
}

std::vector<unsigned short> WideFromJson(const TJson& json, const TCJsonPath& path)
{
    if (json.is_string())
    {
        return UnitsFromUtf8(json.get_ref<const std::string&>());
    }
    std::vector<unsigned short> units;
    if (json.is_array())
    {
        for (std::size_t index = 0; index < json.size(); ++index)
        {
            units.push_back(
                static_cast<unsigned short>(UnsignedFromJson(json[index], 0xFFFF, TCJsonPath(path, index))));
        }
        return units;
    }
    if (!json.is_object())
    {
        throw TCJsonError(path, std::string("a text is needed, or {\"codeUnits\": [numbers]}, not ") + KindOf(json));
    }
    TCJsonObject object(json, path);
    if (const TJson* const numbers = object.Take("codeUnits"))
    {
        object.Done();
        const TCJsonPath inner(path, "codeUnits");
        if (!numbers->is_array())
        {
            throw TCJsonError(inner, std::string("a list is needed, not ") + KindOf(*numbers));
        }
        return WideFromJson(*numbers, inner);
    }
    std::vector<unsigned short> once;
    const TCWipeAtEnd wipe(once); // an answer to a CAM is a text
    std::uint64_t times = 1;
    if (const TJson* const text = object.Take("text"))
    {
        once = WideFromJson(*text, TCJsonPath(path, "text"));
    }
    else
    {
        throw TCJsonError(path, "\"text\" or \"codeUnits\" is missing");
    }
    if (const TJson* const count = object.Take("times"))
    {
        times = UnsignedFromJson(*count, MOST_TIMES, TCJsonPath(path, "times"));
    }
    object.Done();
    while (times-- > 0)
    {
        units.insert(units.end(), once.begin(), once.end());
    }
    return units;
}
} // namespace CIM::json
