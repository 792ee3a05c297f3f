#include "proxy/CISignalSubscriberProxy.h"

#include "ci_connection/Immortal.h"
#include "protocol/SignalSubscriber.h"
#include "proxy/MakeProxy.h"
#include "proxy/SignalData.h"
#include "utils/CallOutcome.h"
#include "utils/CIAPILog.h"

#include <new>
#include <thread>
#include <utility>

namespace CIM
{
TCCISignalSubscriberProxy::TCCISignalSubscriberProxy(boost::shared_ptr<TIIPCHelper> ipcHelper)
    : m_call(protocol::TTable<ICISignalSubscriber>::ConnectionName(), std::move(ipcHelper))
{
    m_call.WaitForInterface();
    // The earlier receptor goes first: both register the same function, and its end would unregister the new one.
    ReplaceSignalReceptor(nullptr);
    auto receptor = std::make_shared<TCSignalReceptor>(
        std::bind(&TCCISignalSubscriberProxy::m_OnSignalCallback, this, std::placeholders::_1, std::placeholders::_2),
        m_call.Helper());
    m_receptor = receptor;
    ReplaceSignalReceptor(std::move(receptor));
    CIM_LOG_INFO("");
}

TCCISignalSubscriberProxy::~TCCISignalSubscriberProxy()
{
    CIM_LOG_INFO("");
    // Before the mutex: the receptor's end waits for a signal that is being delivered, which takes the mutex.
    if (auto own = m_receptor.lock())
    {
        own.reset();
        ReplaceSignalReceptor(nullptr);
    }
    const std::lock_guard lock(m_mutex);
    m_UnsubscribeAll();
}

void TCCISignalSubscriberProxy::EndSubscriptions(std::chrono::milliseconds patience)
{
    // No more signals, and nobody waits for the one that may be on its way: the receptor lives on.
    MakeImmortal<std::shared_ptr<TCSignalReceptor>>(ReplaceSignalReceptor(nullptr));
    const auto deadline = std::chrono::steady_clock::now() + patience;
    std::unique_lock lock(m_mutex, std::try_to_lock);
    while (!lock && std::chrono::steady_clock::now() < deadline)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        lock.try_lock();
    }
    if (lock)
    {
        m_UnsubscribeAll();
    }
}

void TCCISignalSubscriberProxy::m_UnsubscribeAll()
{
    const std::map<TSSignalKey, void*> subscriptions = m_userDataMap;
    for (const auto& [key, userData] : subscriptions)
    {
        TCCISignalSubscriberProxy::Unsubscribe(key.signalType, key.profile, key.handle, 0);
    }
    if (!m_userDataMap.empty())
    {
        CIM_LOG_ERROR("Failed to unsubscribe all signals");
    }
}

// Without the mutex, which is held while callbacks run: the facade calls this with its own held, and a callback may ask
// the facade.
void TCCISignalSubscriberProxy::SetCallback(int (*callback)(ECISignalType, EProfile, unsigned short, TSSignalData,
                                                            void*))
{
    CIM_LOG_INFO("");
    TCallback none = nullptr;
    if (!m_IsHere())
    {
        return;
    }
    if (!m_callback.compare_exchange_strong(none, callback))
    {
        CIM_LOG_INFO("m_callback was already set, don't overwrite it.");
        return;
    }
    CIM_LOG_INFO("");
}

int TCCISignalSubscriberProxy::Subscribe(ECISignalType signalType, void* userData, EProfile profile,
                                         unsigned short handle, long)
{
    KeepOutcome(CALL_OUTCOME_NONE);
    if (!m_IsHere())
    {
        return TNull::Subscribe(signalType, userData, profile, handle, 0);
    }
    try
    {
        const std::lock_guard lock(m_mutex);
        const std::string signalText = ToString(signalType);
        const TSSignalKey key{signalType, profile, handle};
        if (m_userDataMap.count(key) != 0)
        {
            CIM_LOG_ERROR("Signal was already subscribed %s", signalText.c_str());
            return 0;
        }
        const TVSHandle pipeline(profile, handle);
        const std::string pipelineText = ToString(pipeline);
        CIM_LOG_ERROR("Signal subscribed %s %s pUserData[%p].", signalText.c_str(), pipelineText.c_str(), userData);
        m_userDataMap.emplace(key, userData);
        if (!m_call.Connection()->AddMatchRule(IPC_MESSAGE_SIGNAL, signalType, pipeline))
        {
            // The entry stays: the key counts as subscribed until it is unsubscribed.
            CIM_LOG_ERROR("AddMatchRule FALSE ");
            return 0;
        }
        return m_call.Do<&ICISignalSubscriber::Subscribe>(signalType, userData, profile, handle, GetPid())
            .Or([&] { return TNull::Subscribe(signalType, userData, profile, handle, 0); });
    }
    catch (const std::bad_alloc&)
    {
        CIM_LOG_ERROR("Out of memory");
        return TNull::Subscribe(signalType, userData, profile, handle, 0);
    }
}

int TCCISignalSubscriberProxy::Unsubscribe(ECISignalType signalType, EProfile profile, unsigned short handle, long)
{
    KeepOutcome(CALL_OUTCOME_NONE);
    if (!m_IsHere())
    {
        return TNull::Unsubscribe(signalType, profile, handle, 0);
    }
    const std::lock_guard lock(m_mutex);
    if (m_userDataMap.erase({signalType, profile, handle}) == 0)
    {
        CIM_LOG_ERROR("Signal not exists in subscribtion list.");
        return 0;
    }
    if (!m_call.Connection()->RemoveMatchRule(IPC_MESSAGE_SIGNAL, signalType, TVSHandle(profile, handle)))
    {
        CIM_LOG_ERROR("RemoveMatchRule FALSE!");
        return 0;
    }
    return m_call.Do<&ICISignalSubscriber::Unsubscribe>(signalType, profile, handle, GetPid())
        .Or([&] { return TNull::Unsubscribe(signalType, profile, handle, 0); });
}

// In the child of a fork the mutex may be held by a thread that is not there.
bool TCCISignalSubscriberProxy::m_IsHere() const
{
    const bool isHere = m_process.IsHere();
    if (!isHere)
    {
        KeepOutcome(CALL_OUTCOME_NOT_SENT);
        CIM_LOG_ERROR_AT("m_IsHere", __LINE__, "The subscriptions belong to the parent process %ld", m_process.Id());
    }
    return isHere;
}

void TCCISignalSubscriberProxy::m_OnSignalCallback(int signalType, TCMessageBuffer& payload)
{
    const std::optional<SignalData> signal = ParseSignal(signalType, payload);
    if (!signal)
    {
        return;
    }
    const std::string signalText = ToString(signal->signalType);
    const std::string pipelineText = ToString(signal->handle);
    CIM_LOG_ERROR("Received: %s %s", signalText.c_str(), pipelineText.c_str());

    const std::lock_guard lock(m_mutex);
    void* userData = nullptr;
    const auto subscription = m_userDataMap.find(signal->key);
    if (subscription == m_userDataMap.end())
    {
        CIM_LOG_ERROR("User data map is NULL.");
    }
    else
    {
        CIM_LOG_ERROR("User data map not NULL.");
        userData = subscription->second;
    }
    // The match rules have decided which signals arrive: one without a subscription is delivered, too.
    if (const TCallback callback = m_callback)
    {
        callback(signal->signalType, signal->handle.profile, signal->handle.handle, signal->data, userData);
    }
}

void EndSubscriptions(ICISignalSubscriber& subscriber, std::chrono::milliseconds patience)
{
    if (auto* const proxy = dynamic_cast<TCCISignalSubscriberProxy*>(&subscriber))
    {
        proxy->EndSubscriptions(patience);
    }
}

template <>
std::unique_ptr<ICISignalSubscriber> MakeProxy(boost::shared_ptr<TIIPCHelper> helper)
{
    return std::make_unique<TCCISignalSubscriberProxy>(std::move(helper));
}
} // namespace CIM
