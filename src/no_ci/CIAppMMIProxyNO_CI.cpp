#include "no_ci/CIAppMMIProxyNO_CI.h"

#include "no_ci/MakeNull.h"
#include "utils/CIAPILog.h"

namespace CIM
{
TCCIAppMMIProxyNO_CI::TCCIAppMMIProxyNO_CI() { CIM_LOG_INFO_AT("TCCIAppMMIProxyNO_CI", 35, ""); }

TCCIAppMMIProxyNO_CI::~TCCIAppMMIProxyNO_CI() { CIM_LOG_INFO_AT("~TCCIAppMMIProxyNO_CI", 42, ""); }

template <>
std::unique_ptr<ICIAppMMI> MakeNull()
{
    return std::make_unique<TCCIAppMMIProxyNO_CI>();
}
} // namespace CIM
