#include "bus/SocketWriter.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>
#include <poll.h>
#include <sys/socket.h>

namespace CIM
{
namespace
{
// \return false: the time is over
bool WaitUntilWritable(int socket, TCSocketWriter::TTime deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd waited = {socket, POLLOUT, 0};
    return left.count() > 0 && poll(&waited, 1, static_cast<int>(left.count())) != 0;
}

void TakeFromFront(std::span<iovec>& pieces, std::size_t size)
{
    while (!pieces.empty() && size >= pieces.front().iov_len)
    {
        size -= pieces.front().iov_len;
        pieces = pieces.subspan(1);
    }
    if (size > 0)
    {
        pieces.front().iov_base = static_cast<char*>(pieces.front().iov_base) + size;
        pieces.front().iov_len -= size;
    }
}
} // namespace

TCSocketWriter::EResult TCSocketWriter::Write(std::span<iovec> pieces, TTime deadline)
{
    const std::lock_guard lock(m_mutex);
    EResult result = m_rest.empty() ? EResult::WRITTEN : m_WriteRest(deadline);
    if (result == EResult::WRITTEN)
    {
        const iovec* const begin = pieces.data();
        const std::size_t beginSize = begin->iov_len;
        result = m_Write(pieces, deadline);
        const bool isBegun = pieces.data() != begin || begin->iov_len != beginSize;
        if (isBegun && (result == EResult::LATE || result == EResult::NO_MEMORY))
        {
            result = m_Keep(pieces);
        }
    }
    if (result == EResult::BROKEN)
    {
        shutdown(m_socket, SHUT_RDWR); // for whoever reads
    }
    return result;
}

TCSocketWriter::EResult TCSocketWriter::m_WriteRest(TTime deadline)
{
    iovec rest = {m_rest.data() + m_restWritten, m_rest.size() - m_restWritten};
    std::span<iovec> pieces(&rest, 1);
    const EResult result = m_Write(pieces, deadline);
    m_restWritten = m_rest.size() - (pieces.empty() ? 0 : rest.iov_len);
    if (result == EResult::WRITTEN)
    {
        explicit_bzero(m_rest.data(), m_rest.size()); // perhaps a PIN
        m_rest = std::vector<char>();
        m_restWritten = 0;
    }
    return result;
}

// Writes from the front as far as it goes; leaves what is unwritten.
TCSocketWriter::EResult TCSocketWriter::m_Write(std::span<iovec>& pieces, TTime deadline)
{
    while (!pieces.empty())
    {
        msghdr message{};
        message.msg_iov = pieces.data();
        message.msg_iovlen = pieces.size();
        const ssize_t written = sendmsg(m_socket, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (written >= 0)
        {
            TakeFromFront(pieces, static_cast<std::size_t>(written));
        }
        else if (errno == EAGAIN || errno == EWOULDBLOCK)
        {
            if (!WaitUntilWritable(m_socket, deadline))
            {
                return EResult::LATE;
            }
        }
        else if (errno == ENOMEM || errno == ENOBUFS)
        {
            return EResult::NO_MEMORY;
        }
        else if (errno != EINTR)
        {
            return EResult::BROKEN;
        }
    }
    return EResult::WRITTEN;
}

// The bus waits for the rest of what was begun, and the pieces are the caller's.
TCSocketWriter::EResult TCSocketWriter::m_Keep(std::span<iovec> pieces)
{
    std::size_t size = 0;
    for (const iovec& piece : pieces)
    {
        size += piece.iov_len;
    }
    try
    {
        m_rest.reserve(size);
    }
    catch (const std::bad_alloc&)
    {
        return EResult::BROKEN;
    }
    for (const iovec& piece : pieces)
    {
        const char* const bytes = static_cast<const char*>(piece.iov_base);
        m_rest.insert(m_rest.end(), bytes, bytes + piece.iov_len);
    }
    return EResult::WRITTEN;
}
} // namespace CIM
