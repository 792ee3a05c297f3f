#pragma once

#include "soak/Application.h"

#include "bus/Handles.h"

#include <ciapi/CIService.h>

#include <array>
#include <mutex>
#include <vector>

namespace CIM::soak
{
/// Subscriptions of one application that come and go. What the library brings is compared with what the bus delivered,
/// which a control connection tells: plain libdbus in this process, with the match rules that the library has.
///
/// Of a key's signals those count that the daemon sent after Subscribe had returned and before Unsubscribe was called:
/// it says itself how far it was (AskFence). Bound to its thread, but for the callback.
class TCSignals
{
public:
    /// \param[in] thread  the place under which the driver watches this one's calls
    /// \throws std::runtime_error when there is no bus
    TCSignals(SApplication& application, unsigned thread);

    /// Subscribes a key, or ends its subscription and checks what came.
    void Toggle(unsigned key);
    /// Ends all subscriptions.
    void End();
    /// Reads what the bus delivered to the control connection.
    void ReadControl();

private:
    struct SKey
    {
        std::vector<TStamp> delivered; ///< by the bus
        std::vector<TStamp> received;  ///< from the library
        TStamp last = 0;               ///< received; kept beyond a subscription
        std::optional<TStamp> since;   ///< the subscription counts from behind this one
        bool isSubscribed = false;
    };

    static int m_OnSignal(ECISignalType type, EProfile profile, unsigned short handle, TSSignalData data,
                          void* userData);
    void m_Receive(unsigned key, TStamp stamp, const void* userData);
    void m_Subscribe(unsigned key);
    void m_Unsubscribe(unsigned key);
    std::optional<TStamp> m_AskFence(unsigned key);
    bool m_WaitForMainLoop();
    void m_Compare(unsigned key, TStamp until);

    SApplication& m_application;
    const unsigned m_thread;
    TCConnectionPtr m_control;
    std::mutex m_mutex; // guards what the callback writes
    std::array<SKey, SIGNAL_KEYS> m_keys;
    ICISignalSubscriber* m_subscriber = nullptr;
    std::uint64_t m_count = 0; ///< of received ones
};
} // namespace CIM::soak
