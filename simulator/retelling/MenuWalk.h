#pragma once

#include "KnownCams.h"

namespace CIM::sim
{
/// Leads the menus of the CAMs through a recording.
class TCMenuWalk
{
public:
    TCMenuWalk(const TSRecording& recording, TSRecordedSet& set, TCKnownCams& cams);

    void Walk();

private:
    TCCamMenus* m_MenusAt(unsigned slot, std::size_t place);
    void m_TakeCall(std::size_t place, const TSRecordedCall& call);
    void m_Show(std::size_t place, const TSSeenPage& seen);

    const TSRecording& m_recording;
    TSRecordedSet& m_set;
    TCKnownCams& m_cams;
    std::map<unsigned, std::int64_t> m_enteredAt;
    std::optional<std::int64_t> m_refusedAt; ///< the CAM has refused a service
};
} // namespace CIM::sim
