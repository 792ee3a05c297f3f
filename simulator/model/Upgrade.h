#pragma once

#include "Mmi.h"

namespace CIM::sim
{
/// CAM firmware upgrades: the CAM asks, the host answers, progress runs over virtual time, the CAM resets. Every step
/// is SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE.
class TCUpgrade
{
public:
    /// \param[in] reset  how a CAM is reset after its upgrade
    TCUpgrade(TSWorld& world, TCMmi& mmi, std::function<void(unsigned char slot)> reset)
        : m_world(world), m_mmi(mmi), m_reset(std::move(reset)), m_states(world.slots.size())
    {
    }

    int Reply(unsigned char slot, ECamUpgradeAnswer answer);

    /// The CAM asks for its upgrade. Delayed: nothing happens before an answer. Immediate: it starts after a time even
    /// without one.
    TSOutcome Request(unsigned slot, ECamUpgradeMode mode);
    /// Sets the progress of a running upgrade; 100 ends it.
    TSOutcome SetProgress(unsigned slot, int percent);

    void OnCamGone(const TSSlot& slot);
    json::TCDraft State() const;

private:
    enum EStep : int
    {
        STEP_NONE,
        STEP_REQUESTED,
        STEP_RUNNING,
    };

    struct TSState
    {
        EStep step = STEP_NONE;
        ECamUpgradeMode mode = CAM_UPGRADE_MODE_DELAYED;
        int percent = 0;
        TCClock::TEventId next = 0;
    };

    void m_Start(const TSSlot& slot);
    void m_Advance(const TSSlot& slot, int percent);
    void m_Raise(const TSSlot& slot, ECamUpgradeStatus status, int value);

    TSWorld& m_world;
    TCMmi& m_mmi;
    std::function<void(unsigned char)> m_reset;
    std::vector<TSState> m_states;
};
} // namespace CIM::sim
