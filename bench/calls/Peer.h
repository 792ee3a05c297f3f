#pragma once

#include "bus/Handles.h"
#include "calls/Daemon.h"

#include <memory>
#include <string_view>
#include <vector>

namespace CIM::bench
{
/// A way to call the daemon. Nobody copies what comes back: it is looked at where it lies.
class TCPeer
{
public:
    virtual ~TCPeer() = default;

    /// What is sent from now on; it stays alive and unchanged.
    void Use(std::string_view payload)
    {
        t_payload = payload;
        t_Prepare();
    }
    /// Sends it and waits until it is back. \throws std::runtime_error when something else comes
    virtual void Call() = 0;

protected:
    virtual void t_Prepare() {}
    void t_CheckEcho(std::string_view echo) const;

    std::string_view t_payload;
};

struct TSPeerKind
{
    const char* name;
    bool hasThreads; ///< threads may share one
    std::unique_ptr<TCPeer> (*make)();
};
/// Plain libdbus comes first: the others are compared with it.
const std::vector<TSPeerKind>& PeerKinds();

std::unique_ptr<TCPeer> MakePlain();
std::unique_ptr<TCPeer> MakeLibrary();
std::unique_ptr<TCPeer> MakeSdBus();
std::unique_ptr<TCPeer> MakeSocket();

/// A connection of plain libdbus. \throws std::runtime_error without a bus
TCConnectionPtr ConnectPlainly();
/// A call as plain libdbus writes it.
TCMessagePtr PlainCall(EMethod method, std::string_view payload);
/// Sends a call of plain libdbus. \return the answer
TCMessagePtr SendPlainly(DBusConnection* connection, DBusMessage* call);
} // namespace CIM::bench
