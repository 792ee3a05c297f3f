#include "Recorded.h"

#include <charconv>

namespace CIM::traffic
{
bool TCRecorded::Next()
{
    while (m_reader.Next(m_packet))
    {
        ++m_packets;
        m_SetMoment();
        if (recording::ReadMessageHead(m_packet.bytes, m_head))
        {
            return true;
        }
        ++m_unreadable;
    }
    return false;
}

TCMessagePtr TCRecorded::Message()
{
    TCDBusError error;
    TCMessagePtr message(
        dbus_message_demarshal(m_packet.bytes.data(), static_cast<int>(m_packet.bytes.size()), error.Get()));
    m_unreadable += message == nullptr ? 1 : 0;
    return message;
}

/// The comments of some messages say where the clock stood that does not jump.
void TCRecorded::m_SetMoment()
{
    constexpr std::string_view WORDS = "monotonic clock ";
    const std::size_t place = m_packet.comment.rfind(WORDS);
    if (place != m_packet.comment.npos)
    {
        const std::string_view digits = m_packet.comment.substr(place + WORDS.size());
        std::int64_t seconds = 0;
        std::int64_t parts = 0;
        const char* const end = digits.data() + digits.size();
        const auto [point, error] = std::from_chars(digits.data(), end, seconds);
        constexpr int DIGITS = 9;
        constexpr std::int64_t MOST_SECONDS = 9'000'000'000; // that nanoseconds can tell
        const bool isWhole = error == std::errc() && seconds >= 0 && seconds < MOST_SECONDS && end - point > DIGITS &&
                             std::from_chars(point + 1, point + 1 + DIGITS, parts).ec == std::errc() && parts >= 0;
        if (isWhole)
        {
            m_told = {m_packet.time, seconds * 1'000'000'000 + parts};
        }
    }
    // A jump of the clock is told with the packet behind it.
    std::int64_t since = 0;
    const bool isKnown = m_told.monotonic != 0 && !__builtin_sub_overflow(m_packet.time, m_told.real, &since) &&
                         !__builtin_add_overflow(m_told.monotonic, since, &since);
    m_moment = {m_packet.time, isKnown ? since : 0};
}
} // namespace CIM::traffic
