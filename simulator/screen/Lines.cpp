#include "Lines.h"

#include "json/Json.h"
#include "json/Secret.h"

#include <cerrno>
#include <fcntl.h>
#include <glib-unix.h>
#include <sys/socket.h>
#include <unistd.h>

namespace CIM::sim
{
namespace
{
constexpr std::size_t MOST_BYTES = 64 << 20; ///< of a line, and of what the other end has not read yet
}

TCLines::TCLines(int descriptor, std::function<void(json::TJson)> onLine, std::function<void()> onEnd)
    : m_descriptor(descriptor), m_onLine(std::move(onLine)), m_onEnd(std::move(onEnd))
{
    fcntl(m_descriptor, F_SETFL, fcntl(m_descriptor, F_GETFL) | O_NONBLOCK);
    m_readable = g_unix_fd_add(m_descriptor, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), s_OnReadable, this);
}

TCLines::~TCLines()
{
    m_onEnd = {};
    m_End();
    json::Wipe(m_incoming);
    json::Wipe(m_outgoing);
    close(m_descriptor);
}

void TCLines::Send(const json::TJson& value)
{
    std::string line = json::Dump(value);
    const json::TCWipeAtEnd wipe(line);
    if (m_readable == 0 || m_outgoing.size() + line.size() > MOST_BYTES)
    {
        return m_End();
    }
    m_outgoing += line;
    m_outgoing += '\n';
    m_Write();
}

gboolean TCLines::s_OnReadable(gint, GIOCondition, gpointer self)
{
    return static_cast<TCLines*>(self)->m_Read() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

bool TCLines::m_Read()
{
    char bytes[65536];
    const ssize_t count = recv(m_descriptor, bytes, sizeof bytes, 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
    {
        return true;
    }
    if (count <= 0 || m_incoming.size() > MOST_BYTES)
    {
        m_readable = 0;
        m_End();
        return false;
    }
    m_incoming.append(bytes, static_cast<std::size_t>(count));
    explicit_bzero(bytes, static_cast<std::size_t>(count));
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = m_incoming.find('\n', begin)) != std::string::npos; begin = end + 1)
    {
        json::TJson value = json::TJson::parse(m_incoming.begin() + static_cast<std::ptrdiff_t>(begin),
                                               m_incoming.begin() + static_cast<std::ptrdiff_t>(end), nullptr, false);
        if (!value.is_discarded())
        {
            m_onLine(std::move(value));
        }
    }
    std::string rest = m_incoming.substr(begin);
    std::swap(rest, m_incoming);
    json::Wipe(rest);
    return true;
}

gboolean TCLines::s_OnWritable(gint, GIOCondition, gpointer self)
{
    auto& lines = *static_cast<TCLines*>(self);
    lines.m_writable = 0;
    lines.m_Write();
    return G_SOURCE_REMOVE;
}

void TCLines::m_Write()
{
    const ssize_t count = send(m_descriptor, m_outgoing.data(), m_outgoing.size(), MSG_NOSIGNAL);
    if (count < 0 && errno != EAGAIN && errno != EINTR)
    {
        return m_End();
    }
    std::string rest = m_outgoing.substr(count > 0 ? static_cast<std::size_t>(count) : 0);
    std::swap(rest, m_outgoing);
    json::Wipe(rest);
    if (!m_outgoing.empty() && m_writable == 0)
    {
        m_writable = g_unix_fd_add(m_descriptor, G_IO_OUT, s_OnWritable, this);
    }
}

void TCLines::m_End()
{
    for (guint* const source : {&m_readable, &m_writable})
    {
        if (*source != 0)
        {
            g_source_remove(std::exchange(*source, 0));
        }
    }
    if (const auto end = std::exchange(m_onEnd, {}))
    {
        end();
    }
}
} // namespace CIM::sim
