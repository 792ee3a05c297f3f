#include "proxy/ProxyCall.h"

#include "utils/CallOutcome.h"
#include "utils/CIAPILog.h"

#include <new>
#include <span>
#include <utility>

namespace CIM
{
TCProxyCall::TCProxyCall(const char* connectionName, boost::shared_ptr<TIIPCHelper> helper)
    : m_connectionName(connectionName), m_ipcHelper(std::move(helper))
{
}

TCProxyCall::~TCProxyCall() = default;

void TCProxyCall::WaitForInterface() const
{
    m_ipcHelper->GetIPCConnection()->WaitForCreateInterface(m_connectionName.c_str());
}

bool TCProxyCall::m_Run(const char* operation, SCallKind kind, const SArgument* arguments, std::size_t count)
{
    try
    {
        TCCIMarshallingHelperProxy frame(m_ipcHelper);
        if (kind.hasSecret)
        {
            frame.KeepNothing();
        }
        for (const SArgument& argument : std::span(arguments, count))
        {
            const auto direction = static_cast<EMarshallingDirection>(argument.direction);
            if (argument.width != 0)
            {
                frame.PushValue(direction, argument.width, argument.address);
            }
            else
            {
                frame.PushMarshalableClass(direction, static_cast<TIMarshalable*>(argument.address));
            }
        }
        return frame.Run(m_connectionName, operation, kind.id, kind.oneWay);
    }
    catch (const std::bad_alloc&)
    {
        if (LastCallOutcome().outcome == CALL_OUTCOME_ANSWERED)
        {
            KeepOutcome(CALL_OUTCOME_NOT_READABLE);
        }
        CIM_LOG_ERROR_AT("Do", __LINE__, "[%s:%s] Out of memory", m_connectionName.c_str(), operation);
        return false;
    }
}
} // namespace CIM
