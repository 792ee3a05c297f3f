#pragma once

#include "impl/CIMarshallingHelperProxy.h"
#include "protocol/Pushed.h"

#include <optional>
#include <string>
#include <utility>

namespace CIM
{
/// What every proxy holds and does: the daemon's interface, the way to it, and the one place where a call is made.
class TCProxyCall
{
public:
    /// \param[in] connectionName  D-Bus interface and bus name of the daemon's interface
    /// \param[in] helper          null is a programming error, which ends the process at its first use
    TCProxyCall(const std::string& connectionName, boost::shared_ptr<TIIPCHelper> helper)
        : m_connectionName(connectionName), m_ipcHelper(std::move(helper))
    {
    }

    /// Blocks until the daemon owns the interface, at the longest as long as the connection waits.
    void WaitForInterface() const { m_ipcHelper->GetIPCConnection()->WaitForCreateInterface(m_connectionName.c_str()); }

    boost::shared_ptr<TICIMIPCConnection> Connection() const { return m_ipcHelper->GetIPCConnection(); }
    const boost::shared_ptr<TIIPCHelper>& Helper() const { return m_ipcHelper; }

    /// Calls an operation of the daemon.
    /// \param[in] operation  the operation's row
    /// \param[in] arguments  exactly the arguments of the member function; outputs are filled in place
    /// \return what the daemon answered, or the seed when its answer holds no result; nothing when the call failed
    template <class Row, class... Arguments>
    std::optional<typename Row::Result> operator()(const Row& operation, const Arguments&... arguments)
    {
        static_assert(Row::template Takes<Arguments...>(), "the arguments differ from the declared operation's");
        bool oneWay = false;
        if constexpr (Row::HAS_ONE_WAY)
        {
            oneWay = std::get<Row::COUNT - 1>(std::tie(arguments...));
        }
        typename Row::Result result = Row::Seed(oneWay);
        TCCIMarshallingHelperProxy frame(m_ipcHelper);
        protocol::TPushedResult<typename Row::Result> pushedResult(result);
        protocol::TPushedParameters<Row> parameters(arguments...);
        pushedResult.Push(frame);
        protocol::ForEachPushed<Row>(parameters, protocol::IsSent, [&](auto& pushed) { pushed.Push(frame); });
        if (!frame.Run(m_connectionName, operation.name, operation.id, oneWay))
        {
            return std::nullopt;
        }
        pushedResult.Load();
        protocol::ForEachPushed<Row>(parameters, protocol::IsOutput, [](auto& pushed) { pushed.Load(); });
        return result;
    }

private:
    std::string m_connectionName;
    boost::shared_ptr<TIIPCHelper> m_ipcHelper;
};
} // namespace CIM
