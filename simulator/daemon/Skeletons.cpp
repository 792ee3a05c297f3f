#include "Skeletons.h"

#include "simulator/model/Model.h"

#include "protocol/Interfaces.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
template <class Interface>
Interface& ObjectOf(TCModel& model, ICISignalSubscriber& subscriber)
{
    if constexpr (std::is_same_v<Interface, ICISignalSubscriber>)
    {
        return subscriber;
    }
    else
    {
        return model.Of<Interface>();
    }
}
} // namespace

TCSkeletons::TCSkeletons(TCModel& model, ICISignalSubscriber& subscriber)
{
    protocol::ForEachInterface(
        [&]<class Interface>(protocol::TType<Interface>) {
            m_skeletons.push_back(
                std::make_unique<protocol::TSkeleton<Interface>>(ObjectOf<Interface>(model, subscriber)));
        });
}

protocol::TISkeleton* TCSkeletons::Find(const std::string& connectionName)
{
    const auto found = std::find_if(m_skeletons.begin(), m_skeletons.end(),
                                    [&](const auto& skeleton) { return skeleton->ConnectionName() == connectionName; });
    return found != m_skeletons.end() ? found->get() : nullptr;
}

std::vector<std::string> TCSkeletons::ConnectionNames()
{
    std::vector<std::string> names;
    protocol::ForEachInterface([&]<class Interface>(protocol::TType<Interface>)
                               { names.push_back(protocol::TTable<Interface>::ConnectionName()); });
    return names;
}
} // namespace CIM::sim
