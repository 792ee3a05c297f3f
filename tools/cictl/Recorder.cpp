#include "cictl/Recorder.h"

#include "traffic/CoverSecrets.h"

#include <cstdio>
#include <new>

namespace CIM::cictl
{
TCRecorder::TCRecorder(const std::string& path, std::uint64_t ringBytes, bool withSecrets)
    : m_writer(path, ringBytes, "cictl " CIAPI_VERSION), m_withSecrets(withSecrets)
{
}

void TCRecorder::Record(DBusMessage* message, const recording::TSMoment& moment, const std::string& comment)
{
    if (!m_withSecrets && dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_METHOD_CALL)
    {
        traffic::CoverSecrets(message);
    }
    char* bytes = nullptr;
    int length = 0;
    if (!dbus_message_marshal(message, &bytes, &length))
    {
        throw std::bad_alloc();
    }
    m_writer.Write(moment, {bytes, static_cast<std::size_t>(length)}, comment);
    dbus_free(bytes);
}

void TCRecorder::Tick()
{
    m_writer.Tick(recording::TSMoment::Now());
    m_TellTrouble();
}

bool TCRecorder::Close()
{
    m_writer.Close();
    m_TellTrouble();
    return m_writer.Trouble().empty();
}

void TCRecorder::m_TellTrouble()
{
    if (!m_hasTold && !m_writer.Trouble().empty())
    {
        m_hasTold = true;
        std::fprintf(stderr, "cictl: %s; what came until then is recorded\n", m_writer.Trouble().c_str());
    }
}
} // namespace CIM::cictl
