#pragma once

#include "recording/MessageHead.h"
#include "recording/Moment.h"
#include "recording/Reader.h"

#include "bus/Handles.h"

#include <cstdint>

namespace CIM::traffic
{
/// Reads a recording message by message, in constant memory. The bytes may be anybody's. Bound to its thread.
class TCRecorded
{
public:
    /// \param[in] descriptor  read from where it stands, not closed; may be a pipe
    explicit TCRecorded(int descriptor) : m_reader(descriptor) {}

    /// Goes to the next message; what is none is passed over, and counted.
    /// \return false at the end; Ending() then says whether it is a clean one
    /// \throws recording::TCRecordingError  nothing more can be read then
    bool Next();
    /// What stands at its head; holds until Next.
    const recording::TSMessageHead& Head() const { return m_head; }
    /// When it came, by both clocks; monotonic is 0 where the recording does not tell it.
    const recording::TSMoment& Moment() const { return m_moment; }
    /// In bytes.
    std::size_t Size() const { return m_packet.bytes.size(); }
    /// The whole of it, in memory of its own. \return null when it is no message after all, which is counted
    TCMessagePtr Message();

    std::uint64_t Packets() const { return m_packets; }
    /// Those that are no D-Bus messages, or were cut, as far as somebody has looked.
    std::uint64_t Unreadable() const { return m_unreadable; }
    std::uint64_t Offset() const { return m_reader.Offset(); }
    /// Empty after a whole file; otherwise in words where it was cut off.
    const std::string& Ending() const { return m_reader.Ending(); }

private:
    void m_SetMoment();

    recording::TCReader m_reader;
    recording::TSPacket m_packet;
    recording::TSMessageHead m_head;
    recording::TSMoment m_moment;
    recording::TSMoment m_told; ///< where the clocks stood when both were told; monotonic 0: never
    std::uint64_t m_packets = 0;
    std::uint64_t m_unreadable = 0;
};
} // namespace CIM::traffic
