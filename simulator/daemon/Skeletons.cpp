#include "Skeletons.h"

#include "simulator/model/Model.h"

namespace CIM::sim
{
TSkeletons::TSkeletons(TModel& model, ICISignalSubscriber& subscriber)
    : m_skeletons(protocol::TSkeleton<ICIGeneral>(model.General()),
                  protocol::TSkeleton<ICIOperatorProfile>(model.OperatorProfile()),
                  protocol::TSkeleton<ICIAppMMI>(model.AppMMI()), protocol::TSkeleton<IPvrCip>(model.PvrCip()),
                  protocol::TSkeleton<ICIDebug>(model.Debug()),
                  protocol::TSkeleton<ICIAuxiliaryFileSystem>(model.AuxiliaryFileSystem()),
                  protocol::TSkeleton<ICICAMPlayer>(model.CICAMPlayer()),
                  protocol::TSkeleton<ICISampleDecryption>(model.SampleDecryption()),
                  protocol::TSkeleton<ICISignalSubscriber>(subscriber))
{
}

protocol::TISkeleton* TSkeletons::Find(const std::string& connectionName)
{
    protocol::TISkeleton* found = nullptr;
    m_ForEach(
        [&](protocol::TISkeleton& skeleton)
        {
            if (skeleton.ConnectionName() == connectionName)
            {
                found = &skeleton;
            }
        });
    return found;
}

std::vector<std::string> TSkeletons::ConnectionNames()
{
    std::vector<std::string> names;
    m_ForEach([&](protocol::TISkeleton& skeleton) { names.push_back(skeleton.ConnectionName()); });
    return names;
}
} // namespace CIM::sim
