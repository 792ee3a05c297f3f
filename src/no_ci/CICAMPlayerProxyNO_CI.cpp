#include "no_ci/CICAMPlayerProxyNO_CI.h"

#include "no_ci/MakeNull.h"
#include "utils/CIAPILog.h"

namespace CIM
{
TCCICAMPlayerProxyNO_CI::TCCICAMPlayerProxyNO_CI() { CIM_LOG_INFO_AT("TCCICAMPlayerProxyNO_CI", 34, ""); }

TCCICAMPlayerProxyNO_CI::~TCCICAMPlayerProxyNO_CI() { CIM_LOG_INFO_AT("~TCCICAMPlayerProxyNO_CI", 41, ""); }

template <>
std::unique_ptr<ICICAMPlayer> MakeNull()
{
    return std::make_unique<TCCICAMPlayerProxyNO_CI>();
}
} // namespace CIM
