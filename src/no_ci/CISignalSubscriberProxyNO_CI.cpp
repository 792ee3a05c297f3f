#include "no_ci/CISignalSubscriberProxyNO_CI.h"

#include "no_ci/MakeNull.h"
#include "utils/CIAPILog.h"

namespace CIM
{
TCCISignalSubscriberProxyNO_CI::TCCISignalSubscriberProxyNO_CI()
{
    CIM_LOG_INFO_AT("TCCISignalSubscriberProxyNO_CI", 34, "");
}

TCCISignalSubscriberProxyNO_CI::~TCCISignalSubscriberProxyNO_CI()
{
    CIM_LOG_INFO_AT("~TCCISignalSubscriberProxyNO_CI", 41, "");
}

void TCCISignalSubscriberProxyNO_CI::SetCallback(int (*)(ECISignalType, EProfile, unsigned short, TSSignalData, void*))
{
    CIM_LOG_INFO_AT("SetCallback", 62, "");
}

template <>
std::unique_ptr<ICISignalSubscriber> MakeNull()
{
    return std::make_unique<TCCISignalSubscriberProxyNO_CI>();
}
} // namespace CIM
