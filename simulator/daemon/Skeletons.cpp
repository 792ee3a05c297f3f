#include "Skeletons.h"

#include "simulator/model/Model.h"

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

template <class... Interfaces>
TCSkeletons::TTuple TCSkeletons::m_Make(TCModel& model, ICISignalSubscriber& subscriber, protocol::TList<Interfaces...>)
{
    return TTuple(ObjectOf<Interfaces>(model, subscriber)...);
}

TCSkeletons::TCSkeletons(TCModel& model, ICISignalSubscriber& subscriber)
    : m_skeletons(m_Make(model, subscriber, protocol::TInterfaces()))
{
}

protocol::TISkeleton* TCSkeletons::Find(const std::string& connectionName)
{
    protocol::TISkeleton* found = nullptr;
    const auto look = [&](protocol::TISkeleton& skeleton)
    { found = skeleton.ConnectionName() == connectionName ? &skeleton : found; };
    std::apply([&](auto&... skeleton) { (look(skeleton), ...); }, m_skeletons);
    return found;
}

std::vector<std::string> TCSkeletons::ConnectionNames()
{
    std::vector<std::string> names;
    protocol::ForEachInterface([&]<class Interface>(protocol::TType<Interface>)
                               { names.push_back(protocol::TTable<Interface>::ConnectionName()); });
    return names;
}
} // namespace CIM::sim
