#include "Subscriber.h"

#include <limits>

namespace CIM::sim
{
int TCSubscriber::Subscribe(ECISignalType signalType, void*, EProfile profile, unsigned short handle, long processId)
{
    ++m_subscriptions[{signalType, profile, handle, processId}];
    return 1;
}

int TCSubscriber::Unsubscribe(ECISignalType signalType, EProfile profile, unsigned short handle, long processId)
{
    const auto found = m_subscriptions.find({signalType, profile, handle, processId});
    if (found == m_subscriptions.end())
    {
        return 0;
    }
    if (--found->second == 0)
    {
        m_subscriptions.erase(found);
    }
    return 1;
}

void TCSubscriber::Forget(long processId)
{
    std::erase_if(m_subscriptions, [&](const auto& entry) { return std::get<long>(entry.first) == processId; });
}

bool TCSubscriber::IsWanted(ECISignalType signalType, EProfile profile, unsigned short handle) const
{
    const auto first = m_subscriptions.lower_bound({signalType, profile, handle, std::numeric_limits<long>::min()});
    return first != m_subscriptions.end() && std::get<ECISignalType>(first->first) == signalType &&
           std::get<EProfile>(first->first) == profile && std::get<unsigned short>(first->first) == handle;
}

json::TCDraft TCSubscriber::State() const
{
    json::TCDraft result = json::List();
    for (const auto& [key, count] : m_subscriptions)
    {
        const auto& [type, profile, handle, processId] = key;
        result.Append(json::Record({{"type", EnumName(type)},
                                    {"number", static_cast<int>(type)},
                                    {"profile", static_cast<int>(profile)},
                                    {"handle", handle},
                                    {"process", processId},
                                    {"count", count}}));
    }
    return result;
}
} // namespace CIM::sim
