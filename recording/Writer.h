#pragma once

#include "Moment.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace CIM::recording
{
/// Writes messages to a file as pcapng, which every viewer opens. The clock that does not jump is told in the comment of a
/// message whenever the two have moved against each other ("monotonic clock 12.345678901 s"), beginning with the first.
///
/// As a ring it keeps the latest messages in two files of half the size each, FILE and before it FILE.previous; one after
/// the other they make a recording, too. What was written a second ago has reached the disk at the next Tick. Bound to its
/// thread.
class TCWriter
{
public:
    /// \param[in] ringBytes    0: no ring
    /// \param[in] application  the program that records, for viewers
    /// \throws std::runtime_error when the file cannot be written
    TCWriter(std::string path, std::uint64_t ringBytes, std::string application);
    ~TCWriter();
    TCWriter(const TCWriter&) = delete;
    TCWriter& operator=(const TCWriter&) = delete;

    /// \param[in] message  as it stands on the bus
    /// \param[in] comment  UTF-8; empty: none
    /// Never throws for what happens to the file: see Trouble.
    void Write(const TSMoment& moment, std::string_view message, std::string_view comment = {});
    /// Call it at least every second.
    void Tick(const TSMoment& moment);
    /// Hands everything to the disk; nothing can be written any more.
    void Close();
    /// Why no more is written, such as a full disk; empty while all is well. The file ends with the last whole message.
    const std::string& Trouble() const { return m_trouble; }

private:
    void m_Open();
    void m_BeginSection();
    void m_Turn();
    void m_Add(std::string_view bytes) { m_pending.append(bytes); }
    template <class T>
    void m_AddNumber(T number);
    void m_AddOption(std::uint16_t code, std::string_view value);
    /// Puts the lengths around what was added since the block began.
    void m_EndBlock(std::size_t begin);
    void m_Flush();
    void m_Fail(const std::string& what);

    std::string m_path;
    std::uint64_t m_halfRing;
    std::string m_application;
    int m_descriptor = -1;
    std::string m_pending; ///< whole blocks that the file does not have yet
    std::uint64_t m_written = 0;
    std::int64_t m_synced = 0; ///< monotonic
    bool m_isDirty = false;
    std::optional<std::int64_t> m_difference; ///< between the clocks, as told last
    std::string m_trouble;
};
} // namespace CIM::recording
