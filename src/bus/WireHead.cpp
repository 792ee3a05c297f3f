#include "bus/WireHead.h"

#include <bit>
#include <cstring>
#include <dbus/dbus.h>
#include <string_view>

namespace CIM
{
namespace
{
constexpr char OWN_BYTE_ORDER = std::endian::native == std::endian::little ? DBUS_LITTLE_ENDIAN : DBUS_BIG_ENDIAN;
constexpr std::size_t TYPE_OFFSET = 1;
constexpr std::size_t FIELDS_SIZE_OFFSET = 12;
constexpr std::string_view REPLY_SIGNATURE = "yiay";

constexpr std::size_t Align(std::size_t place, std::size_t to) { return (place + to - 1) / to * to; }

// Reads the header fields from the front to the back. What does not fit in the bytes ends it.
class TCFields
{
public:
    explicit TCFields(std::span<const char> bytes) : m_bytes(bytes) {}

    bool IsAtEnd() const { return m_place >= m_bytes.size(); }
    bool IsWell() const { return m_isWell; }

    void SkipTo(std::size_t alignment) { m_Take(Align(m_place, alignment) - m_place); }
    int Byte()
    {
        const char* const place = m_Take(1);
        return place != nullptr ? static_cast<unsigned char>(*place) : 0;
    }
    std::uint32_t Number()
    {
        SkipTo(sizeof(std::uint32_t));
        const char* const place = m_Take(sizeof(std::uint32_t));
        return place != nullptr ? WireNumber(place) : 0;
    }
    // A text and the zero behind it.
    std::string_view Text(std::size_t length)
    {
        const char* const place = m_Take(length);
        const char* const end = m_Take(1);
        m_isWell = m_isWell && end != nullptr && *end == '\0';
        return m_isWell ? std::string_view(place, length) : std::string_view();
    }

private:
    const char* m_Take(std::size_t size)
    {
        m_isWell = m_isWell && size <= m_bytes.size() - m_place;
        if (!m_isWell)
        {
            m_place = m_bytes.size();
            return nullptr;
        }
        const char* const place = m_bytes.data() + m_place;
        m_place += size;
        return place;
    }

    const std::span<const char> m_bytes;
    std::size_t m_place = 0;
    bool m_isWell = true;
};

// \return false: a field that is not known, or is wrong
bool ReadField(TCFields& fields, SWireHead& head)
{
    const int code = fields.Byte();
    const std::string_view type = fields.Text(static_cast<std::size_t>(fields.Byte()));
    if (type == DBUS_TYPE_UINT32_AS_STRING && code == DBUS_HEADER_FIELD_REPLY_SERIAL)
    {
        head.replySerial = fields.Number();
    }
    else if (type == DBUS_TYPE_SIGNATURE_AS_STRING && code == DBUS_HEADER_FIELD_SIGNATURE)
    {
        head.isReply = fields.Text(static_cast<std::size_t>(fields.Byte())) == REPLY_SIGNATURE;
    }
    else if (type == DBUS_TYPE_STRING_AS_STRING || type == DBUS_TYPE_OBJECT_PATH_AS_STRING)
    {
        fields.Text(fields.Number());
    }
    else
    {
        return false;
    }
    return fields.IsWell();
}
} // namespace

std::uint32_t WireNumber(const char* place)
{
    std::uint32_t number = 0;
    std::memcpy(&number, place, sizeof number);
    return number;
}

void SetWireNumber(char* place, std::uint32_t number) { std::memcpy(place, &number, sizeof number); }

std::optional<SWireHead> ReadWireHead(std::span<const char> message)
{
    if (message.size() < WIRE_FIXED_HEADER_SIZE || message[0] != OWN_BYTE_ORDER)
    {
        return std::nullopt;
    }
    const std::size_t fieldsSize = WireNumber(message.data() + FIELDS_SIZE_OFFSET);
    if (fieldsSize > message.size() - WIRE_FIXED_HEADER_SIZE)
    {
        return std::nullopt;
    }
    SWireHead head;
    head.type = static_cast<unsigned char>(message[TYPE_OFFSET]);
    head.bodyOffset = Align(WIRE_FIXED_HEADER_SIZE + fieldsSize, 8);
    TCFields fields(message.subspan(WIRE_FIXED_HEADER_SIZE, fieldsSize));
    while (!fields.IsAtEnd())
    {
        fields.SkipTo(8);
        if (!ReadField(fields, head))
        {
            return std::nullopt;
        }
    }
    head.isReply = head.isReply && head.type == DBUS_MESSAGE_TYPE_METHOD_RETURN;
    return head;
}

std::optional<protocol::SReplyEnvelope> ReadWireReply(std::span<const char> message, const SWireHead& head)
{
    // A byte, three of filling, two numbers, the bytes of the array.
    constexpr std::size_t LENGTH_OFFSET = 4;
    constexpr std::size_t ARRAY_SIZE_OFFSET = 8;
    constexpr std::size_t ARRAY_OFFSET = 12;
    if (!head.isReply || message.size() < head.bodyOffset + ARRAY_OFFSET)
    {
        return std::nullopt;
    }
    const std::span<const char> body = message.subspan(head.bodyOffset);
    const std::span<const char> payload = body.subspan(ARRAY_OFFSET);
    if (WireNumber(body.data() + ARRAY_SIZE_OFFSET) != payload.size() ||
        WireNumber(message.data() + WIRE_BODY_SIZE_OFFSET) != body.size() || payload.size() > DBUS_MAXIMUM_ARRAY_LENGTH)
    {
        return std::nullopt;
    }
    protocol::SReplyEnvelope reply;
    reply.status = static_cast<std::uint8_t>(body[0]);
    reply.length = static_cast<std::int32_t>(WireNumber(body.data() + LENGTH_OFFSET));
    reply.payload = {payload.data(), static_cast<int>(payload.size())};
    return reply;
}
} // namespace CIM
