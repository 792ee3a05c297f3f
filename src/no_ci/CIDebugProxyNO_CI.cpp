#include "no_ci/CIDebugProxyNO_CI.h"

#include "no_ci/MakeNull.h"
#include "utils/CIAPILog.h"

namespace CIM
{
TCCIDebugProxyNO_CI::TCCIDebugProxyNO_CI() { CIM_LOG_INFO_AT("TCCIDebugProxyNO_CI", 34, ""); }

TCCIDebugProxyNO_CI::~TCCIDebugProxyNO_CI() { CIM_LOG_INFO_AT("~TCCIDebugProxyNO_CI", 41, ""); }

template <>
std::unique_ptr<ICIDebug> MakeNull()
{
    return std::make_unique<TCCIDebugProxyNO_CI>();
}
} // namespace CIM
