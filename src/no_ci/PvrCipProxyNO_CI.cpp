#include "no_ci/PvrCipProxyNO_CI.h"

#include "no_ci/MakeNull.h"
#include "utils/CIAPILog.h"

namespace CIM
{
TCPvrCipProxyNO_CI::TCPvrCipProxyNO_CI() { CIM_LOG_INFO_AT("TCPvrCipProxyNO_CI", 30, ""); }

TCPvrCipProxyNO_CI::~TCPvrCipProxyNO_CI() { CIM_LOG_INFO_AT("~TCPvrCipProxyNO_CI", 37, ""); }

template <>
std::unique_ptr<IPvrCip> MakeNull()
{
    return std::make_unique<TCPvrCipProxyNO_CI>();
}
} // namespace CIM
