#pragma once

#include <ciapi/ICISignalSubscriber.h>

#include "json/Draft.h"

#include <map>
#include <tuple>

namespace CIM::sim
{
/// The daemon's list of who wants which signal. It is a record, not a filter: who receives a signal is decided by the
/// bus.
class TCSubscriber final : public ICISignalSubscriber
{
public:
    /// \param[in] processId  the process that subscribes; what travels as the reserved argument
    /// \return 1, also when the process has subscribed this signal already
    int Subscribe(ECISignalType signalType, void* userData, EProfile profile, unsigned short handle,
                  long processId) override;
    /// \return 1; 0 when there is no such subscription
    int Unsubscribe(ECISignalType signalType, EProfile profile, unsigned short handle, long processId) override;
    /// The daemon has no callback: does nothing.
    void SetCallback(TCISignalCallback) override {}

    /// Forgets a process that is gone.
    void Forget(long processId);
    /// Whether anybody wants a signal.
    bool IsWanted(ECISignalType signalType, EProfile profile, unsigned short handle) const;
    json::TCDraft State() const;

private:
    using TKey = std::tuple<ECISignalType, EProfile, unsigned short, long>;
    std::map<TKey, int> m_subscriptions; ///< how often each was asked for
};
} // namespace CIM::sim
