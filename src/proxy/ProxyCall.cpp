#include "proxy/ProxyCall.h"

#include "utils/CallOutcome.h"
#include "utils/CIAPILog.h"

namespace CIM
{
void TCProxyCall::m_TellNoMemory(const char* operation) const
{
    if (LastCallOutcome().outcome == CALL_OUTCOME_ANSWERED)
    {
        KeepOutcome(CALL_OUTCOME_NOT_READABLE);
    }
    CIM_LOG_ERROR_AT("Do", __LINE__, "[%s:%s] Out of memory", m_connectionName.c_str(), operation);
}
} // namespace CIM
