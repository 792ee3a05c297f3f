#include "MessageHead.h"

#include <bit>
#include <cstring>

namespace CIM::recording
{
namespace
{
enum EField : std::uint8_t
{
    FIELD_PATH = 1,
    FIELD_INTERFACE = 2,
    FIELD_MEMBER = 3,
    FIELD_REPLY_SERIAL = 5,
    FIELD_DESTINATION = 6,
    FIELD_SENDER = 7,
};

constexpr std::uint8_t FLAG_NO_REPLY = 1;
constexpr std::size_t FIXED_BYTES = 16; ///< with the length of the fields
constexpr char OWN_ORDER = std::endian::native == std::endian::little ? 'l' : 'B';
constexpr char OTHER_ORDER = std::endian::native == std::endian::little ? 'B' : 'l';

constexpr std::size_t Aligned(std::size_t at, std::size_t to) { return (at + to - 1) / to * to; }

/// Goes through bytes; a read past the end gives nothing and is remembered.
class TCCursor
{
public:
    TCCursor(std::string_view bytes, bool isSwapped) : m_bytes(bytes), m_isSwapped(isSwapped) {}

    bool IsGood() const { return m_isGood; }
    std::size_t At() const { return m_at; }
    void Align(std::size_t to) { m_at = Aligned(m_at, to); }
    std::string_view Take(std::size_t count)
    {
        if (!m_isGood || m_at > m_bytes.size() || count > m_bytes.size() - m_at)
        {
            m_isGood = false;
            return {};
        }
        const std::string_view taken = m_bytes.substr(m_at, count);
        m_at += count;
        return taken;
    }
    std::uint8_t Byte()
    {
        const std::string_view taken = Take(1);
        return taken.empty() ? 0 : static_cast<std::uint8_t>(taken[0]);
    }
    std::uint32_t Number()
    {
        Align(4);
        const std::string_view taken = Take(4);
        std::uint32_t number = 0;
        if (!taken.empty())
        {
            std::memcpy(&number, taken.data(), sizeof number);
        }
        return m_isSwapped ? __builtin_bswap32(number) : number;
    }
    /// A text or a signature, with the byte behind it.
    std::string_view Text(std::size_t length)
    {
        const std::string_view taken = Take(length);
        Take(1);
        return taken;
    }

private:
    std::string_view m_bytes;
    std::size_t m_at = 0;
    bool m_isSwapped;
    bool m_isGood = true;
};

/// Fields that nobody knows may be of any type, but those that are sent are texts, numbers and signatures.
void ReadField(TCCursor& cursor, TSMessageHead& head)
{
    const std::uint8_t field = cursor.Byte();
    const std::string_view signature = cursor.Text(cursor.Byte());
    const char type = signature.size() == 1 ? signature[0] : '\0';
    std::string_view text;
    std::uint32_t number = 0;
    switch (type)
    {
    case 's':
    case 'o':
        text = cursor.Text(cursor.Number());
        break;
    case 'g':
        cursor.Text(cursor.Byte());
        return;
    case 'u':
        number = cursor.Number();
        break;
    default:
        cursor.Take(SIZE_MAX); // what follows cannot be told
        return;
    }
    switch (field)
    {
    case FIELD_PATH:
        head.path = text;
        break;
    case FIELD_INTERFACE:
        head.interface = text;
        break;
    case FIELD_MEMBER:
        head.member = text;
        break;
    case FIELD_REPLY_SERIAL:
        head.replySerial = number;
        break;
    case FIELD_DESTINATION:
        head.destination = text;
        break;
    case FIELD_SENDER:
        head.sender = text;
        break;
    default:
        break;
    }
}
} // namespace

std::int32_t TSMessageHead::FirstNumber() const
{
    return static_cast<std::int32_t>(TCCursor(body, isSwapped).Number());
}

std::string_view TSMessageHead::FirstText() const
{
    TCCursor cursor(body, isSwapped);
    return cursor.Text(cursor.Number());
}

bool ReadMessageHead(std::string_view bytes, TSMessageHead& head)
{
    if (bytes.size() < FIXED_BYTES || (bytes[0] != OWN_ORDER && bytes[0] != OTHER_ORDER))
    {
        return false;
    }
    head = TSMessageHead();
    head.isSwapped = bytes[0] == OTHER_ORDER;
    head.type = static_cast<std::uint8_t>(bytes[1]);
    head.wantsNoReply = (static_cast<std::uint8_t>(bytes[2]) & FLAG_NO_REPLY) != 0;
    TCCursor cursor(bytes, head.isSwapped);
    cursor.Take(4);
    const std::size_t bodyBytes = cursor.Number();
    head.serial = cursor.Number();
    const std::size_t fieldBytes = cursor.Number();
    if (fieldBytes > bytes.size() - FIXED_BYTES)
    {
        return false;
    }
    const std::size_t end = FIXED_BYTES + fieldBytes;
    while (cursor.IsGood() && cursor.At() < end)
    {
        cursor.Align(8);
        ReadField(cursor, head);
    }
    cursor.Align(8);
    head.body = cursor.Take(bodyBytes);
    return cursor.IsGood() && cursor.At() == bytes.size();
}
} // namespace CIM::recording
