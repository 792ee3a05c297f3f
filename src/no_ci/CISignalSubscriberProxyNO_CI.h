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

    int Subscribe(ECISignalType signalType, void* userData, EProfile profile, unsigned short handle,
                  long reserved) override;
    int Unsubscribe(ECISignalType signalType, EProfile profile, unsigned short handle, long reserved) override;
    void SetCallback(int (*callback)(ECISignalType, EProfile, unsigned short, TSSignalData, void*)) override;
};
} // namespace CIM
