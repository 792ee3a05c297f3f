#pragma once

#include "protocol/AppMMI.h"
#include "protocol/AuxiliaryFileSystem.h"
#include "protocol/CICAMPlayer.h"
#include "protocol/Debug.h"
#include "protocol/General.h"
#include "protocol/OperatorProfile.h"
#include "protocol/PvrCip.h"
#include "protocol/SampleDecryption.h"
#include "protocol/SignalSubscriber.h"
#include "protocol/Skeleton.h"

#include <tuple>
#include <vector>

namespace CIM::sim
{
class TModel;

/// The nine interfaces as the bus sees them. Bound to its thread.
class TSkeletons
{
public:
    /// \param[in] model       answers; outlives this
    /// \param[in] subscriber  answers the subscriber interface; outlives this
    TSkeletons(TModel& model, ICISignalSubscriber& subscriber);

    /// The interface of that name; null when there is none.
    protocol::TISkeleton* Find(const std::string& connectionName);
    /// The bus names of the interfaces, in the order in which they are taken.
    std::vector<std::string> ConnectionNames();

    template <class Interface>
    protocol::TSkeleton<Interface>& Of()
    {
        return std::get<protocol::TSkeleton<Interface>>(m_skeletons);
    }

private:
    template <class Visitor>
    void m_ForEach(Visitor visitor)
    {
        std::apply([&](auto&... skeleton) { (visitor(skeleton), ...); }, m_skeletons);
    }

    std::tuple<protocol::TSkeleton<ICIGeneral>, protocol::TSkeleton<ICIOperatorProfile>, protocol::TSkeleton<ICIAppMMI>,
               protocol::TSkeleton<IPvrCip>, protocol::TSkeleton<ICIDebug>, protocol::TSkeleton<ICIAuxiliaryFileSystem>,
               protocol::TSkeleton<ICICAMPlayer>, protocol::TSkeleton<ICISampleDecryption>,
               protocol::TSkeleton<ICISignalSubscriber>>
        m_skeletons;
};
} // namespace CIM::sim
