#pragma once

#include "ci_connection/CIMIPCConnection.h"

#include <tvplatform/MarshallingHelper.h>

#include <boost/shared_ptr.hpp>

#include <chrono>
#include <string>

#ifdef NDEBUG
#error "what ends the process for an empty helper is the assertion of its pointer: compile with -UNDEBUG"
#endif

namespace CIM
{
/// Gives the proxies the one connection to the daemon.
class TIIPCHelper
{
public:
    virtual ~TIIPCHelper() = default;
    /// \return the connection, shared with the caller
    virtual boost::shared_ptr<TICIMIPCConnection> GetIPCConnection() const = 0;
};

/// Owns the library's connection. One for all proxies of the process; connecting happens in its constructor, which
/// blocks while there is no bus.
class TCIPCHelper : public TIIPCHelper
{
public:
    TCIPCHelper();
    boost::shared_ptr<TICIMIPCConnection> GetIPCConnection() const override;

    /// Whatever still waits for the daemon or the bus, one after the other, is over at the latest one time-out from now.
    void BeginEnding() { m_connection->BeginEnding(); }
    std::chrono::milliseconds TimeLeft() const { return m_connection->TimeLeft(); }
    /// Closes the connection for threads that may still call: every call fails at once.
    void Retire() { m_connection->Retire(); }

private:
    boost::shared_ptr<TCCIMIPCConnection> m_connection;
};

/// The frame of one call: lives on the caller's stack, gets the arguments pushed in order (the result slot first), and
/// Run sends them and fills what the reply brings. Bound to its thread.
class TCCIMarshallingHelperProxy : public TCMarshallingHelperProxy
{
public:
    /// \param[in] helper  null is a programming error, which Run ends the process for
    explicit TCCIMarshallingHelperProxy(boost::shared_ptr<TIIPCHelper> helper);
    ~TCCIMarshallingHelperProxy() override;

    /// Makes the call; to be used once. Blocks up to the connection's time-out.
    /// \param[in] interfaceName  the D-Bus interface and bus name of the daemon's interface
    /// \param[in] methodName     for the log only: the daemon goes by the identifier
    /// \param[in] methodId       the method's identifier
    /// \param[in] async          do not wait for an answer; nothing is then written to the arguments
    /// \return false when the call could not be made or was not answered; no argument is then changed. An error line
    ///         says so, except when the arguments cannot be brought into a tree, or the tree into bytes. True when the
    ///         daemon answered, whatever it wrote: what cannot be read keeps its value, after an error line.
    virtual bool Run(std::string& interfaceName, const std::string& methodName, short methodId, bool async);

    /// The arguments hold what nobody may read: what Run makes of them is wiped.
    void KeepNothing() { m_isSecret = true; }

private:
    bool m_MayCallNow(short methodId) const;
    bool m_Call(TCMessageBuffer& input, std::string& interfaceName, short methodId, bool async);

    boost::shared_ptr<TIIPCHelper> m_IPCHelper;
    bool m_isSecret = false;
};
} // namespace CIM
