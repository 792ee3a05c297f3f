#include "no_ci/CIOperatorProfileProxyNO_CI.h"

#include "no_ci/MakeNull.h"
#include "utils/CIAPILog.h"

namespace CIM
{
TCCIOperatorProfileProxyNO_CI::TCCIOperatorProfileProxyNO_CI()
{
    CIM_LOG_INFO_AT("TCCIOperatorProfileProxyNO_CI", 35, "");
}

TCCIOperatorProfileProxyNO_CI::~TCCIOperatorProfileProxyNO_CI()
{
    CIM_LOG_INFO_AT("~TCCIOperatorProfileProxyNO_CI", 42, "");
}

template <>
std::unique_ptr<ICIOperatorProfile> MakeNull()
{
    return std::make_unique<TCCIOperatorProfileProxyNO_CI>();
}
} // namespace CIM
