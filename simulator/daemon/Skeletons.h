#pragma once

#include "protocol/Skeleton.h"

#include <ciapi/ICISignalSubscriber.h>

#include <memory>
#include <string>
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

    /// The interface of that name, which is a protocol::TSkeleton of it; null when there is none.
    protocol::TISkeleton* Find(const std::string& connectionName);
    /// The bus names of the interfaces, in the order in which they are taken.
    static std::vector<std::string> ConnectionNames();

private:
    // Known as a whole in one source only: each skeleton is a good deal to compile.
    std::vector<std::unique_ptr<protocol::TISkeleton>> m_skeletons;
};
} // namespace CIM::sim
