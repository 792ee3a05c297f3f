#include "proxy/CIOperatorProfileProxy.h"

#include "proxy/MakeProxy.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCCIOperatorProfileProxy::TCCIOperatorProfileProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<ICIOperatorProfile>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCCIOperatorProfileProxy", __LINE__, "");
    m_call.WaitForInterface();
}

TCCIOperatorProfileProxy::~TCCIOperatorProfileProxy() { CIM_LOG_INFO_AT("~TCCIOperatorProfileProxy", __LINE__, ""); }

template <>
std::unique_ptr<ICIOperatorProfile> MakeProxy(boost::shared_ptr<TIIPCHelper> helper)
{
    return std::make_unique<TCCIOperatorProfileProxy>(std::move(helper));
}
} // namespace CIM
