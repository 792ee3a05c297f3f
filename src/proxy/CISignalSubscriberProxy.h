#pragma once

#include "no_ci/CISignalSubscriberProxyNO_CI.h"
#include "proxy/ProxyCall.h"
#include "proxy/SignalKey.h"
#include "proxy/SignalReceptor.h"
#include "utils/OwnProcess.h"

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>

namespace CIM
{
/// ICISignalSubscriber over the bus: a match rule and a word to the daemon for each subscription, and the one
/// application callback for all of them.
///
/// Thread-safe. The callback runs on the thread of the default GLib main context with m_mutex held, so subscribing and
/// unsubscribing from within it is allowed, and waiting there for another thread's Subscribe or Unsubscribe is not.
class TCCISignalSubscriberProxy : public TCCISignalSubscriberProxyNO_CI
{
public:
    /// Blocks until the daemon offers the interface, at the longest as long as the connection waits.
    explicit TCCISignalSubscriberProxy(boost::shared_ptr<TIIPCHelper> ipcHelper);
    /// Ends all subscriptions, each with its own word to the daemon. Not from within the callback.
    ~TCCISignalSubscriberProxy() override;

    int Subscribe(ECISignalType signalType, void* userData, EProfile profile, unsigned short handle,
                  long reserved) override;
    int Unsubscribe(ECISignalType signalType, EProfile profile, unsigned short handle, long reserved) override;
    void SetCallback(int (*callback)(ECISignalType, EProfile, unsigned short, TSSignalData, void*)) override;

    /// What the destructor does, for a process that exits while other threads may still call: the object stays as it
    /// is, a callback that is running is not waited for, and what other threads are doing only as long as given.
    void EndSubscriptions(std::chrono::milliseconds patience);

private:
    using TNull = TCCISignalSubscriberProxyNO_CI;
    using TCallback = int (*)(ECISignalType, EProfile, unsigned short, TSSignalData, void*);

    void m_UnsubscribeAll();
    bool m_IsHere() const;

    void m_OnSignalCallback(int signalType, TCMessageBuffer& payload);

    TCProxyCall m_call;
    const TCOwnProcess m_process;
    std::atomic<TCallback> m_callback{nullptr}; // set once
    std::map<TSSignalKey, void*> m_userDataMap;
    std::recursive_mutex m_mutex;
    std::weak_ptr<TCSignalReceptor> m_receptor;
};
} // namespace CIM
