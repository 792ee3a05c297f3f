#include "calls/Peer.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <stdexcept>
#include <string>
#include <sys/socket.h>

// The floor: the bytes of the plain call are written once and sent again and again, and of the answer no more is read
// than where it ends and that it is one.

namespace CIM::bench
{
namespace
{
constexpr std::size_t FIXED_HEADER = 16;
constexpr std::size_t TYPE_OFFSET = 1;
constexpr std::size_t SERIAL_OFFSET = 8;
constexpr std::size_t ROOM_FOR_HEADERS = 4096;

std::size_t CheckedSize(ssize_t size)
{
    if (size <= 0)
    {
        throw std::runtime_error(std::string("bare socket: ") + std::strerror(size < 0 ? errno : EPIPE));
    }
    return static_cast<std::size_t>(size);
}

class TCSocket : public TCPeer
{
public:
    TCSocket()
    {
        // libdbus has authenticated and said Hello; from now on it leaves the socket alone.
        dbus_connection_get_unix_fd(m_connection.get(), &m_socket);
        fcntl(m_socket, F_SETFL, fcntl(m_socket, F_GETFL) & ~O_NONBLOCK);
    }
    void Call() override
    {
        ++m_serial;
        std::memcpy(m_call.data() + SERIAL_OFFSET, &m_serial, sizeof m_serial);
        for (std::size_t sent = 0; sent < m_call.size();)
        {
            sent += CheckedSize(send(m_socket, m_call.data() + sent, m_call.size() - sent, MSG_NOSIGNAL));
        }
        while (!m_ReadMessage()) // the bus tells the connection its name first
        {
        }
    }

private:
    void t_Prepare() override
    {
        const TCMessagePtr call = PlainCall(METHOD_ECHO, t_payload);
        dbus_message_set_serial(call.get(), 1);
        char* bytes = nullptr;
        int length = 0;
        if (!dbus_message_marshal(call.get(), &bytes, &length))
        {
            throw std::bad_alloc();
        }
        m_call.assign(bytes, static_cast<std::size_t>(length));
        dbus_free(bytes);
        m_call.shrink_to_fit();
        m_received.resize(t_payload.size() + ROOM_FOR_HEADERS);
        m_received.shrink_to_fit();
    }
    /// \return whether it was the answer
    bool m_ReadMessage()
    {
        m_Receive(FIXED_HEADER);
        const int size = dbus_message_demarshal_bytes_needed(m_received.data(), FIXED_HEADER);
        m_Receive(static_cast<std::size_t>(size));
        const int type = m_received[TYPE_OFFSET];
        const bool isAnswer = type != DBUS_MESSAGE_TYPE_SIGNAL;
        if (isAnswer)
        {
            if (type != DBUS_MESSAGE_TYPE_METHOD_RETURN)
            {
                throw std::runtime_error("bare socket: an error for an answer");
            }
            t_CheckEcho({m_received.data() + size - t_payload.size(), t_payload.size()});
        }
        m_filled -= static_cast<std::size_t>(size);
        std::memmove(m_received.data(), m_received.data() + size, m_filled);
        return isAnswer;
    }
    void m_Receive(std::size_t atLeast)
    {
        while (m_filled < atLeast)
        {
            m_filled += CheckedSize(recv(m_socket, m_received.data() + m_filled, m_received.size() - m_filled, 0));
        }
    }

    const TCConnectionPtr m_connection = ConnectPlainly();
    int m_socket = -1;
    dbus_uint32_t m_serial = 100; // above those of libdbus
    std::string m_call;
    std::string m_received;
    std::size_t m_filled = 0;
};
} // namespace

std::unique_ptr<TCPeer> MakeSocket() { return std::make_unique<TCSocket>(); }
} // namespace CIM::bench
