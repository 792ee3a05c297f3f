#include "proxy/PvrCipProxy.h"

#include "proxy/MakeProxy.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCPvrCipProxy::TCPvrCipProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<IPvrCip>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCPvrCipProxy", __LINE__, "");
    m_call.WaitForInterface();
}

TCPvrCipProxy::~TCPvrCipProxy() { CIM_LOG_INFO_AT("~TCPvrCipProxy", __LINE__, ""); }

template <>
std::unique_ptr<IPvrCip> MakeProxy(boost::shared_ptr<TIIPCHelper> helper)
{
    return std::make_unique<TCPvrCipProxy>(std::move(helper));
}
} // namespace CIM
