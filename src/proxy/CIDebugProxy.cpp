#include "proxy/CIDebugProxy.h"

#include "proxy/MakeProxy.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCCIDebugProxy::TCCIDebugProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<ICIDebug>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCCIDebugProxy", __LINE__, "");
    m_call.WaitForInterface();
}

TCCIDebugProxy::~TCCIDebugProxy() { CIM_LOG_INFO_AT("~TCCIDebugProxy", __LINE__, ""); }

template <>
std::unique_ptr<ICIDebug> MakeProxy(boost::shared_ptr<TIIPCHelper> helper)
{
    return std::make_unique<TCCIDebugProxy>(std::move(helper));
}
} // namespace CIM
