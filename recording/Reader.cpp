#include "Reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace CIM::recording
{
namespace
{
constexpr std::size_t FIRST_BUFFER = 128U << 10;
constexpr std::size_t MOST_INTERFACES = 4096;
constexpr std::int64_t NANOSECONDS = 1'000'000'000;

/// The options behind a block's fixed part. What is not whole ends the list.
template <class Number, class Handler>
void ForEachOption(std::string_view options, Number number, Handler handler)
{
    while (options.size() >= 4)
    {
        const std::uint16_t code = number(options, 0);
        const std::size_t length = number(options, 2);
        if (code == OPTION_END || length > options.size() - 4)
        {
            return;
        }
        handler(code, options.substr(4, length));
        options.remove_prefix(std::min(options.size(), 4 + PaddedTo4(length)));
    }
}

/// Ticks as nanoseconds; what is beyond what can be told stays at the end of what can.
std::int64_t ToNanoseconds(std::uint64_t ticks, std::int64_t ticksPerSecond, std::int64_t offsetSeconds)
{
    const auto perSecond = static_cast<std::uint64_t>(ticksPerSecond);
    const __int128 whole = static_cast<__int128>(ticks / perSecond) + offsetSeconds;
    const __int128 part = static_cast<__int128>(ticks % perSecond) * NANOSECONDS / ticksPerSecond;
    const __int128 time = whole * NANOSECONDS + part;
    return static_cast<std::int64_t>(std::clamp<__int128>(time, INT64_MIN, INT64_MAX));
}
} // namespace

TCReader::TCReader(int descriptor) : m_descriptor(descriptor), m_buffer(FIRST_BUFFER) {}

bool TCReader::Next(TSPacket& packet)
{
    if (!m_isOpen)
    {
        m_Open();
    }
    if (m_isPcap)
    {
        return m_NextOfPcap(packet);
    }
    std::uint32_t type = 0;
    std::string_view body;
    while (m_TakeBlock(type, body))
    {
        packet = TSPacket();
        switch (type)
        {
        case BLOCK_SECTION:
            m_ReadSection(body);
            break;
        case BLOCK_INTERFACE:
            m_ReadInterface(body);
            break;
        case BLOCK_PACKET:
            if (m_ReadPacket(body, packet))
            {
                m_lastTime = packet.time;
                return true;
            }
            break;
        case BLOCK_SIMPLE_PACKET:
            if (m_ReadSimplePacket(body, packet))
            {
                return true;
            }
            break;
        default:
            break;
        }
    }
    return false;
}

void TCReader::m_Open()
{
    m_isOpen = true;
    constexpr std::size_t PCAP_HEAD = 24;
    if (!m_Have(4))
    {
        m_Refuse(m_end == m_begin ? "the file is empty" : "this is no recording");
    }
    const std::string_view start(m_buffer.data() + m_begin, 4);
    for (const bool isSwapped : {false, true})
    {
        m_isSwapped = isSwapped;
        const auto magic = m_Number<std::uint32_t>(start, 0);
        if (magic == BLOCK_SECTION)
        {
            return; // which byte order it is stands in the block
        }
        if (magic == PCAP_MICROSECONDS || magic == PCAP_NANOSECONDS)
        {
            m_isPcap = true;
            m_pcap.ticksPerSecond = magic == PCAP_NANOSECONDS ? NANOSECONDS : 1'000'000;
            if (!m_Have(PCAP_HEAD))
            {
                m_EndsHere("the file's head");
                return;
            }
            const auto link = m_Number<std::uint32_t>(m_Take(PCAP_HEAD), 20) & 0xFFFF;
            if (link != LINK_TYPE_DBUS)
            {
                m_Refuse("its packets are no D-Bus messages (link type " + std::to_string(link) + ")");
            }
            return;
        }
    }
    m_Refuse("this is no recording: neither pcapng nor pcap");
}

bool TCReader::m_NextOfPcap(TSPacket& packet)
{
    constexpr std::size_t HEAD = 16;
    m_blockOffset = m_offset;
    if (!m_Have(HEAD))
    {
        return m_EndsHere("a packet's head");
    }
    const std::string_view head(m_buffer.data() + m_begin, HEAD);
    const std::uint64_t seconds = m_Number<std::uint32_t>(head, 0);
    const std::uint64_t parts = m_Number<std::uint32_t>(head, 4);
    const std::size_t length = m_Number<std::uint32_t>(head, 8);
    const std::size_t original = m_Number<std::uint32_t>(head, 12);
    if (length > MOST_MESSAGE_BYTES)
    {
        m_Refuse("a packet claims " + std::to_string(length) + " bytes");
    }
    if (!m_Have(HEAD + length))
    {
        return m_EndsHere("a packet");
    }
    m_Take(HEAD);
    packet = {
        ToNanoseconds(seconds * static_cast<std::uint64_t>(m_pcap.ticksPerSecond) + parts, m_pcap.ticksPerSecond, 0),
        m_Take(length),
        {},
        std::max(length, original)};
    return true;
}

/// \param[out] body  without the lengths around it
bool TCReader::m_TakeBlock(std::uint32_t& type, std::string_view& body)
{
    constexpr std::size_t AROUND = 12; // type, length, length again
    m_blockOffset = m_offset;
    if (!m_Have(AROUND))
    {
        return m_EndsHere("a block's head");
    }
    const std::string_view head(m_buffer.data() + m_begin, AROUND);
    type = m_Number<std::uint32_t>(head, 0);
    if (type == BLOCK_SECTION)
    {
        // A section may have another byte order than the one before it.
        m_isSwapped = false;
        m_isSwapped = m_Number<std::uint32_t>(head, 8) != SECTION_ORDER;
        if (m_Number<std::uint32_t>(head, 8) != SECTION_ORDER)
        {
            m_Refuse("a section of neither byte order");
        }
    }
    const std::size_t length = m_Number<std::uint32_t>(head, 4);
    const bool isDescription = type == BLOCK_SECTION || type == BLOCK_INTERFACE;
    const bool isPacket = type == BLOCK_PACKET || type == BLOCK_SIMPLE_PACKET;
    if (length < AROUND || length % 4 != 0 || length > (isDescription ? MOST_DESCRIPTION_BYTES : MOST_BLOCK_BYTES))
    {
        m_Refuse("a block claims " + std::to_string(length) + " bytes");
    }
    if (!isDescription && !isPacket) // there are many more kinds, all of which may be passed over
    {
        body = {};
        return m_PassOver(length);
    }
    if (!m_Have(length))
    {
        return m_EndsHere("a block");
    }
    const std::string_view block = m_Take(length);
    if (m_Number<std::uint32_t>(block, length - 4) != length)
    {
        m_Refuse("a block's two lengths differ");
    }
    body = block.substr(8, length - AROUND);
    return true;
}

/// Goes behind a block that nobody wants.
bool TCReader::m_PassOver(std::size_t length)
{
    for (std::size_t rest = length - 4; rest > 0;)
    {
        if (!m_Have(1))
        {
            return m_EndsHere("a block");
        }
        rest -= m_Take(std::min(rest, m_end - m_begin)).size();
    }
    if (!m_Have(4))
    {
        return m_EndsHere("a block");
    }
    if (m_Number<std::uint32_t>(m_Take(4), 0) != length)
    {
        m_Refuse("a block's two lengths differ");
    }
    return true;
}

void TCReader::m_ReadSection(std::string_view body)
{
    if (body.size() < 16 || m_Number<std::uint16_t>(body, 4) != 1)
    {
        m_Refuse("a section of a version that is not known");
    }
    m_interfaces.clear();
}

void TCReader::m_ReadInterface(std::string_view body)
{
    if (body.size() < 8 || m_interfaces.size() == MOST_INTERFACES)
    {
        m_Refuse("an interface description that makes no sense");
    }
    TSInterface interface;
    interface.isDBus = m_Number<std::uint16_t>(body, 0) == LINK_TYPE_DBUS;
    ForEachOption(
        body.substr(8), [this](std::string_view bytes, std::size_t at) { return m_Number<std::uint16_t>(bytes, at); },
        [&](std::uint16_t code, std::string_view value)
        {
            if (code == OPTION_TIME_RESOLUTION && value.size() == 1)
            {
                const auto resolution = static_cast<unsigned char>(value[0]);
                const unsigned power = resolution & 0x7F;
                const bool isBinary = (resolution & 0x80) != 0;
                if (power > (isBinary ? 62U : 18U))
                {
                    m_Refuse("an interface with a clock that is too fine");
                }
                interface.ticksPerSecond = 1;
                for (unsigned i = 0; i < power; ++i)
                {
                    interface.ticksPerSecond *= isBinary ? 2 : 10;
                }
            }
            else if (code == OPTION_TIME_OFFSET && value.size() == 8)
            {
                interface.offsetSeconds = m_Number<std::int64_t>(value, 0);
            }
        });
    m_interfaces.push_back(interface);
}

bool TCReader::m_ReadPacket(std::string_view body, TSPacket& packet) const
{
    constexpr std::size_t FIXED = 20;
    const std::size_t number = body.size() >= FIXED ? m_Number<std::uint32_t>(body, 0) : m_interfaces.size();
    if (number >= m_interfaces.size())
    {
        m_Refuse("a packet of an interface that is not described");
    }
    const TSInterface& interface = m_interfaces[number];
    const std::size_t length = m_Number<std::uint32_t>(body, 12);
    if (length > body.size() - FIXED)
    {
        m_Refuse("a packet of " + std::to_string(length) + " bytes in a block of " + std::to_string(body.size()));
    }
    if (!interface.isDBus)
    {
        return false;
    }
    const std::uint64_t ticks =
        std::uint64_t{m_Number<std::uint32_t>(body, 4)} << 32 | m_Number<std::uint32_t>(body, 8);
    packet.time = ToNanoseconds(ticks, interface.ticksPerSecond, interface.offsetSeconds);
    packet.bytes = body.substr(FIXED, length);
    packet.originalBytes = std::max<std::size_t>(length, m_Number<std::uint32_t>(body, 16));
    ForEachOption(
        body.substr(std::min(body.size(), FIXED + PaddedTo4(length))),
        [this](std::string_view bytes, std::size_t at) { return m_Number<std::uint16_t>(bytes, at); },
        [&](std::uint16_t code, std::string_view value)
        {
            if (code == OPTION_COMMENT)
            {
                packet.comment = value;
            }
        });
    return true;
}

/// One without a time of its own: it counts as of the packet before it.
bool TCReader::m_ReadSimplePacket(std::string_view body, TSPacket& packet) const
{
    if (body.size() < 4 || m_interfaces.empty())
    {
        m_Refuse("a packet of an interface that is not described");
    }
    packet.time = m_lastTime;
    packet.originalBytes = m_Number<std::uint32_t>(body, 0);
    packet.bytes = body.substr(4, std::min(packet.originalBytes, body.size() - 4));
    return m_interfaces.front().isDBus;
}

/// Reads until so much is there. \return false: the file has not as much
bool TCReader::m_Have(std::size_t count)
{
    while (m_end - m_begin < count)
    {
        if (m_isAtEnd)
        {
            return false;
        }
        if (m_end == m_buffer.size() || m_buffer.size() - m_begin < count)
        {
            std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
            m_end -= m_begin;
            m_begin = 0;
        }
        if (m_end == m_buffer.size())
        {
            m_buffer.resize(2 * m_buffer.size()); // by what is there, not by what is claimed
        }
        const ssize_t got = read(m_descriptor, m_buffer.data() + m_end, m_buffer.size() - m_end);
        if (got < 0 && errno != EINTR)
        {
            throw TCRecordingError(std::string("cannot be read: ") + std::strerror(errno));
        }
        m_end += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
        m_isAtEnd = got == 0;
    }
    return true;
}

std::string_view TCReader::m_Take(std::size_t count)
{
    const std::string_view taken(m_buffer.data() + m_begin, count);
    m_begin += count;
    m_offset += count;
    return taken;
}

bool TCReader::m_EndsHere(const char* within)
{
    const std::uint64_t end = m_offset + (m_end - m_begin);
    if (end != m_blockOffset)
    {
        m_ending = std::string("the file ends within ") + within + ", " + std::to_string(end - m_blockOffset) +
                   " bytes behind offset " + std::to_string(m_blockOffset) + ": it was cut off";
        m_begin = m_end;
    }
    return false;
}

template <class T>
T TCReader::m_Number(std::string_view bytes, std::size_t at) const
{
    std::array<char, sizeof(T)> raw{};
    std::memcpy(raw.data(), bytes.data() + at, sizeof(T));
    if (m_isSwapped)
    {
        std::reverse(raw.begin(), raw.end());
    }
    T value;
    std::memcpy(&value, raw.data(), sizeof(T));
    return value;
}

void TCReader::m_Refuse(const std::string& why) const
{
    throw TCRecordingError("offset " + std::to_string(m_blockOffset) + ": " + why);
}
} // namespace CIM::recording
