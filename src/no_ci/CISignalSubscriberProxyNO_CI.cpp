#include "no_ci/CISignalSubscriberProxyNO_CI.h"

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

int TCCISignalSubscriberProxyNO_CI::Subscribe(ECISignalType, void*, EProfile, unsigned short, long) { return 0; }

int TCCISignalSubscriberProxyNO_CI::Unsubscribe(ECISignalType, EProfile, unsigned short, long) { return 0; }

void TCCISignalSubscriberProxyNO_CI::SetCallback(int (*)(ECISignalType, EProfile, unsigned short, TSSignalData, void*))
{
    CIM_LOG_INFO_AT("SetCallback", 62, "");
}
} // namespace CIM
