#include "Json.h"

#include "Text.h"

#include <algorithm>
#include <charconv>

namespace CIM::sim
{
namespace
{
constexpr std::uint64_t MAX_TIMES = 65'536;

/// "0x0B00", "12", "-1".
template <class T>
bool ToInteger(std::string_view text, T& out)
{
    const bool isHex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    if (isHex)
    {
        text.remove_prefix(2);
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), out, isHex ? 16 : 10);
    return error == std::errc() && end == text.data() + text.size();
}

/// A key as one part of a JSON pointer.
std::string Escaped(const std::string& key)
{
    std::string escaped;
    for (const char c : key)
    {
        escaped += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    }
    return escaped;
}

int DigitOf(char c)
{
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}
} // namespace

void TSJsonAt::Fail(const std::string& expected) const { throw TCJsonError(path, expected); }

TSJsonAt TSJsonAt::Child(const std::string& key) const { return {value.at(key), path + "/" + Escaped(key)}; }

TSJsonAt TSJsonAt::Child(std::size_t index) const { return {value.at(index), path + "/" + std::to_string(index)}; }

void Read(const TSJsonAt& at, bool& out)
{
    if (!at.value.is_boolean())
    {
        at.Fail("expected true or false");
    }
    out = at.value.get<bool>();
}

void Read(const TSJsonAt& at, std::string& out)
{
    if (!at.value.is_string())
    {
        at.Fail("expected a string");
    }
    out = at.value.get<std::string>();
}

void Read(const TSJsonAt& at, std::u16string& out)
{
    if (at.value.is_string())
    {
        out = ToUnits(at.value.get_ref<const std::string&>());
    }
    else if (at.value.is_array())
    {
        std::vector<std::uint16_t> units;
        Read(at, units);
        out.assign(units.begin(), units.end());
    }
    else if (at.value.is_object())
    {
        std::u16string text;
        std::uint64_t times = 1;
        TCJsonObject(at).Needed("text", text).Field("times", times).Done();
        if (times > MAX_TIMES)
        {
            at.Child("times").Fail("expected at most " + std::to_string(MAX_TIMES));
        }
        std::u16string all;
        for (std::uint64_t i = 0; i < times; ++i)
        {
            all += text;
        }
        out = std::move(all);
    }
    else
    {
        at.Fail("expected a text: a string, an array of UTF-16 code units, or {\"text\", \"times\"}");
    }
}

void Read(const TSJsonAt& at, std::vector<unsigned char>& out)
{
    if (at.value.is_object())
    {
        std::string text;
        TCJsonObject(at).Needed("text", text).Done();
        out.assign(text.begin(), text.end());
        return;
    }
    std::vector<int> digits;
    if (at.value.is_string())
    {
        for (const char c : at.value.get_ref<const std::string&>())
        {
            if (c != ' ')
            {
                digits.push_back(DigitOf(c));
            }
        }
    }
    const bool isHex =
        at.value.is_string() && digits.size() % 2 == 0 && std::find(digits.begin(), digits.end(), -1) == digits.end();
    if (!isHex)
    {
        at.Fail("expected bytes: pairs of hexadecimal digits, or {\"text\"}");
    }
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
    {
        bytes.push_back(static_cast<unsigned char>(digits[i] << 4 | digits[i + 1]));
    }
    out = std::move(bytes);
}

std::int64_t ReadInteger(const TSJsonAt& at, std::int64_t least, std::int64_t most)
{
    std::int64_t number = 0;
    const bool isTooBig = at.value.is_number_unsigned() &&
                          at.value.get<std::uint64_t>() > std::uint64_t{std::numeric_limits<std::int64_t>::max()};
    bool isNumber = at.value.is_number_integer() && !isTooBig;
    if (isNumber)
    {
        number = at.value.get<std::int64_t>();
    }
    else if (at.value.is_string())
    {
        isNumber = ToInteger(at.value.get_ref<const std::string&>(), number);
    }
    if (!isNumber || number < least || number > most)
    {
        at.Fail("expected an integer from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return number;
}

void Read(const TSJsonAt& at, std::uint64_t& out)
{
    std::uint64_t number = 0;
    // Parsed JSON says of itself that it is unsigned; what a program put together need not.
    bool isNumber = at.value.is_number_unsigned() || (at.value.is_number_integer() && at.value >= 0);
    if (isNumber)
    {
        number = at.value.get<std::uint64_t>();
    }
    else if (at.value.is_string())
    {
        isNumber = ToInteger(at.value.get_ref<const std::string&>(), number);
    }
    if (!isNumber)
    {
        at.Fail("expected an integer that is not negative");
    }
    out = number;
}

int ReadEnum(const TSJsonAt& at, bool (*find)(std::string_view name, int& value), const std::string& names)
{
    int value = 0;
    if (at.value.is_string() && find(at.value.get_ref<const std::string&>(), value))
    {
        return value;
    }
    if (at.value.is_string())
    {
        at.Fail("expected one of " + names);
    }
    return static_cast<int>(ReadInteger(at, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

TCJsonObject::TCJsonObject(const TSJsonAt& at) : m_at(at)
{
    if (!at.value.is_object())
    {
        at.Fail("expected an object");
    }
}

void TCJsonObject::Done() const
{
    for (const auto& item : m_at.value.items())
    {
        if (m_known.count(item.key()) == 0)
        {
            std::string names;
            for (const std::string& known : m_known)
            {
                names += (names.empty() ? "" : ", ") + known;
            }
            m_at.Child(item.key()).Fail("nobody knows this member; there are " + names);
        }
    }
}
} // namespace CIM::sim
