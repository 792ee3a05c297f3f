#pragma once

#include "protocol/Interfaces.h"
#include "protocol/Skeleton.h"

#include <string>
#include <tuple>
#include <vector>

namespace CIM::sim
{
class TCModel;

/// The interfaces as the bus sees them. Bound to its thread.
class TCSkeletons
{
public:
    /// \param[in] model       answers; outlives this
    /// \param[in] subscriber  answers the subscriber interface; outlives this
    TCSkeletons(TCModel& model, ICISignalSubscriber& subscriber);

    /// The interface of that name; null when there is none.
    protocol::TISkeleton* Find(const std::string& connectionName);
    /// The bus names of the interfaces, in the order in which they are taken.
    static std::vector<std::string> ConnectionNames();

    template <class Interface>
    protocol::TSkeleton<Interface>& Of()
    {
        return std::get<protocol::TSkeleton<Interface>>(m_skeletons);
    }

private:
    using TTuple = protocol::TInterfaces::AsEach<std::tuple, protocol::TSkeleton>;

    template <class... Interfaces>
    static TTuple m_Make(TCModel& model, ICISignalSubscriber& subscriber, protocol::TList<Interfaces...>);

    TTuple m_skeletons;
};
} // namespace CIM::sim
