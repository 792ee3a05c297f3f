#pragma once

#include <chrono>
#include <mutex>
#include <span>
#include <sys/uio.h>
#include <vector>

namespace CIM
{
/// Writes whole messages to a socket, one after the other, from where they stand. Thread-safe.
class TCSocketWriter
{
public:
    using TTime = std::chrono::steady_clock::time_point;

    enum class EResult
    {
        WRITTEN,   ///< whole, or begun and to be finished in front of the next message
        LATE,      ///< nothing of it: the socket took no more bytes in time
        NO_MEMORY, ///< nothing of it
        BROKEN,    ///< the socket is closed, by the other side or for want of memory in the middle of a message
    };

    explicit TCSocketWriter(int socket) : m_socket(socket) {}

    /// Blocks as long as the socket takes no more bytes; a time that is over means a try.
    /// \param[in,out] pieces  of one message; used up
    EResult Write(std::span<iovec> pieces, TTime deadline);

private:
    EResult m_Write(std::span<iovec>& pieces, TTime deadline);
    EResult m_Keep(std::span<iovec> pieces);

    EResult m_WriteRest(TTime deadline);

    const int m_socket;
    std::mutex m_mutex;       // held while a message is written, up to its deadline
    std::vector<char> m_rest; // of a message that was begun
    std::size_t m_restWritten = 0;
};
} // namespace CIM
