#pragma once

#include <ciapi/ICISignalSubscriber.h>

namespace CIM
{
/// What ICISignalSubscriber answers on a set without CI, and what its proxy answers when the daemon does not: no, at
/// once, without touching outputs, except where the interface says otherwise. No callback is kept and no signal ever
/// comes. Stateless; thread-safe.
class TCCISignalSubscriberProxyNO_CI : public ICISignalSubscriber
{
public:
    TCCISignalSubscriberProxyNO_CI();
    ~TCCISignalSubscriberProxyNO_CI() override;

    int Subscribe(ECISignalType, void*, EProfile, unsigned short, long) override { return 0; }
    int Unsubscribe(ECISignalType, EProfile, unsigned short, long) override { return 0; }
    void SetCallback(int (*callback)(ECISignalType, EProfile, unsigned short, TSSignalData, void*)) override;
};
} // namespace CIM
