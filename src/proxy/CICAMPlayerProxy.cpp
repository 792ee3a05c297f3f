#include "proxy/CICAMPlayerProxy.h"

#include "proxy/MakeProxy.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCCICAMPlayerProxy::TCCICAMPlayerProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<ICICAMPlayer>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCCICAMPlayerProxy", 50, "");
    m_call.WaitForInterface();
}

TCCICAMPlayerProxy::~TCCICAMPlayerProxy() { CIM_LOG_INFO_AT("~TCCICAMPlayerProxy", 58, ""); }

template <>
std::unique_ptr<ICICAMPlayer> MakeProxy(boost::shared_ptr<TIIPCHelper> helper)
{
    return std::make_unique<TCCICAMPlayerProxy>(std::move(helper));
}
} // namespace CIM
