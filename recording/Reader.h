#pragma once

#include "PcapNg.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace CIM::recording
{
/// A file that is no recording, or that lies about itself; the text names the place.
class TCRecordingError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A message of a recording. The views hold until the next one is read.
struct TSPacket
{
    std::int64_t time = 0; ///< nanoseconds since 1970
    std::string_view bytes;
    std::string_view comment;      ///< UTF-8 as the file says; empty: none
    std::size_t originalBytes = 0; ///< more than there are when the recorder has cut the message
};

/// Reads recordings of any length in constant memory: pcapng and pcap, of either byte order, with the link type of D-Bus.
/// Packets of other link types are passed over. The bytes may be anybody's. Bound to its thread.
class TCReader
{
public:
    /// \param[in] descriptor  read from where it stands, not closed; may be a pipe
    explicit TCReader(int descriptor);
    TCReader(const TCReader&) = delete;
    TCReader& operator=(const TCReader&) = delete;

    /// \return false at the end; Ending() then says whether it is a clean one
    /// \throws TCRecordingError  nothing more can be read then
    bool Next(TSPacket& packet);
    /// Empty after a whole file; otherwise in words where it was cut off.
    const std::string& Ending() const { return m_ending; }
    /// How many bytes have been read of the file.
    std::uint64_t Offset() const { return m_offset; }

private:
    struct TSInterface
    {
        bool isDBus = false;
        std::int64_t ticksPerSecond = 1'000'000;
        std::int64_t offsetSeconds = 0;
    };

    void m_Open();
    bool m_NextOfPcap(TSPacket& packet);
    bool m_TakeBlock(std::uint32_t& type, std::string_view& body);
    bool m_PassOver(std::size_t length);
    void m_ReadSection(std::string_view body);
    void m_ReadInterface(std::string_view body);
    bool m_ReadPacket(std::string_view body, TSPacket& packet) const;
    bool m_ReadSimplePacket(std::string_view body, TSPacket& packet) const;

    bool m_Have(std::size_t count);
    std::string_view m_Take(std::size_t count);
    bool m_EndsHere(const char* within);
    template <class T>
    T m_Number(std::string_view bytes, std::size_t at) const;
    [[noreturn]] void m_Refuse(const std::string& why) const;

    int m_descriptor;
    std::vector<char> m_buffer;
    std::size_t m_begin = 0; ///< what has not been taken yet
    std::size_t m_end = 0;
    std::uint64_t m_offset = 0;
    std::uint64_t m_blockOffset = 0; ///< of the block, or a pcap's packet, that is being read
    bool m_isOpen = false;
    bool m_isAtEnd = false; ///< of the file
    bool m_isPcap = false;
    bool m_isSwapped = false; ///< the file has the other byte order
    TSInterface m_pcap;       ///< what the head of a pcap says
    std::vector<TSInterface> m_interfaces;
    std::int64_t m_lastTime = 0;
    std::string m_ending;
};
} // namespace CIM::recording
