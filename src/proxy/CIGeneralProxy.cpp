#include "proxy/CIGeneralProxy.h"

#include "proxy/MakeProxy.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCCIGeneralProxy::TCCIGeneralProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<ICIGeneral>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCCIGeneralProxy", 47, "");
    m_call.WaitForInterface();
}

TCCIGeneralProxy::~TCCIGeneralProxy() { CIM_LOG_INFO_AT("~TCCIGeneralProxy", 55, ""); }

template <>
std::unique_ptr<ICIGeneral> MakeProxy(boost::shared_ptr<TIIPCHelper> helper)
{
    return std::make_unique<TCCIGeneralProxy>(std::move(helper));
}
} // namespace CIM
