#include "no_ci/CIGeneralProxyNO_CI.h"

#include "no_ci/MakeNull.h"
#include "utils/CIAPILog.h"

namespace CIM
{
TCCIGeneralProxyNO_CI::TCCIGeneralProxyNO_CI() { CIM_LOG_INFO_AT("TCCIGeneralProxyNO_CI", 30, ""); }

TCCIGeneralProxyNO_CI::~TCCIGeneralProxyNO_CI() { CIM_LOG_INFO_AT("~TCCIGeneralProxyNO_CI", 37, ""); }

template <>
std::unique_ptr<ICIGeneral> MakeNull()
{
    return std::make_unique<TCCIGeneralProxyNO_CI>();
}
} // namespace CIM
