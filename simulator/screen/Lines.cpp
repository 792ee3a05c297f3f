#include "Lines.h"

#include "json/Json.h"
#include "json/Secret.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <glib-unix.h>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace CIM::sim
{
namespace
{
constexpr std::size_t MOST_BYTES = 64 << 20; ///< of a line, and of what the other end has not read yet

/// A buffer that grows by itself leaves its old bytes behind.
void Append(std::string& buffer, std::string_view more)
{
    if (buffer.size() + more.size() > buffer.capacity())
    {
        std::string larger;
        larger.reserve(std::max(2 * buffer.capacity(), buffer.size() + more.size()));
        larger += buffer;
        std::swap(larger, buffer);
        json::Wipe(larger);
    }
    buffer += more;
}

void Drop(std::string& buffer, std::size_t count)
{
    const std::size_t rest = buffer.size() - count;
    std::memmove(buffer.data(), buffer.data() + count, rest);
    explicit_bzero(buffer.data() + rest, count);
    buffer.resize(rest);
}
} // namespace

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
    if (m_readable == 0 || m_outgoing.size() - m_written + line.size() > MOST_BYTES)
    {
        return m_End();
    }
    Append(m_outgoing, line);
    Append(m_outgoing, "\n");
    m_Write();
}

gboolean TCLines::s_OnReadable(gint, GIOCondition, gpointer self)
{
    auto& lines = *static_cast<TCLines*>(self);
    try
    {
        return lines.m_Read() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    }
    catch (const std::exception&) // a line that nobody understands, or no memory: no more of it
    {
        lines.m_readable = 0;
        lines.m_End();
        return G_SOURCE_REMOVE;
    }
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
    std::size_t end = m_incoming.size(); // in what came before there is no end of a line
    Append(m_incoming, {bytes, static_cast<std::size_t>(count)});
    explicit_bzero(bytes, static_cast<std::size_t>(count));
    std::size_t begin = 0;
    for (; (end = m_incoming.find('\n', end)) != std::string::npos; begin = ++end)
    {
        json::TJson value = json::TJson::parse(m_incoming.begin() + static_cast<std::ptrdiff_t>(begin),
                                               m_incoming.begin() + static_cast<std::ptrdiff_t>(end), nullptr, false);
        if (!value.is_discarded())
        {
            m_onLine(std::move(value));
        }
    }
    Drop(m_incoming, begin);
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
    const ssize_t count =
        send(m_descriptor, m_outgoing.data() + m_written, m_outgoing.size() - m_written, MSG_NOSIGNAL);
    if (count < 0 && errno != EAGAIN && errno != EINTR)
    {
        return m_End();
    }
    m_written += count > 0 ? static_cast<std::size_t>(count) : 0;
    if (m_written >= m_outgoing.size() / 2) // not with each piece of a long line
    {
        Drop(m_outgoing, std::exchange(m_written, 0));
    }
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
