#include "calls/Peer.h"

#include <stdexcept>

namespace CIM::bench
{
void TCPeer::t_CheckEcho(std::string_view echo) const
{
    if (echo.size() != t_payload.size() || (!echo.empty() && echo.back() != t_payload.back()))
    {
        throw std::runtime_error("the daemon answered with something else");
    }
}

const std::vector<TSPeerKind>& PeerKinds()
{
    static const std::vector<TSPeerKind> kinds = {
        {"plain libdbus", true, MakePlain},
        {"library", true, MakeLibrary},
#ifdef CIAPI_HAS_SD_BUS
        {"sd-bus", false, MakeSdBus},
#endif
        {"bare socket", false, MakeSocket},
    };
    return kinds;
}
} // namespace CIM::bench
