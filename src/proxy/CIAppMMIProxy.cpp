#include "proxy/CIAppMMIProxy.h"

#include "proxy/MakeProxy.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCCIAppMMIProxy::TCCIAppMMIProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<ICIAppMMI>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCCIAppMMIProxy", 51, "");
    m_call.WaitForInterface();
}

TCCIAppMMIProxy::~TCCIAppMMIProxy() { CIM_LOG_INFO_AT("~TCCIAppMMIProxy", 59, ""); }

template <>
std::unique_ptr<ICIAppMMI> MakeProxy(boost::shared_ptr<TIIPCHelper> helper)
{
    return std::make_unique<TCCIAppMMIProxy>(std::move(helper));
}
} // namespace CIM
