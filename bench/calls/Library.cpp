#include "calls/Peer.h"

#include "ci_connection/CIMIPCConnection.h"

#include <ciapi/CINames.h>

#include <stdexcept>

namespace CIM::bench
{
namespace
{
class TCLibrary : public TCPeer
{
public:
    void Call() override
    {
        TCMessageBuffer input;
        TCMessageBuffer output;
        input.PushBorrowed(t_payload.size(), t_payload.data());
        if (!m_connection.Call(m_interface, METHOD_ECHO, input, output))
        {
            throw std::runtime_error("library: no answer");
        }
        const std::size_t length = output.GetUnreadSize();
        t_CheckEcho({length != 0 ? output.GetAsCStr(0) : "", length});
    }

private:
    const std::string m_interface = INTERFACE;
    TCCIMIPCConnection m_connection{CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME, CI_SIGNAL_SUBSCRIBER_OBJECT_NAME, false};
};
} // namespace

std::unique_ptr<TCPeer> MakeLibrary() { return std::make_unique<TCLibrary>(); }
} // namespace CIM::bench
