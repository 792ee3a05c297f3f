#pragma once

#include "simulator/world/World.h"

#include "json/Draft.h"

namespace CIM::sim
{
struct TSParts;

/// CAMs coming and going, and what of the other parts hears of it.
///
/// Insertion, over the CAM's readyMs of virtual time:
///   after a third       application information can be read
///   after two thirds    SIGNAL_CI_CA_SYSTEMS_CHANGE
///   at its end          SIGNAL_CI_CAM_MODE_CHANGED, SIGNAL_CI_SAC_STATUS_CHANGE (code 1, CI Plus only),
///                       SIGNAL_CI_CAM_READY_STATUS_CHANGED (CAM_STATUS_READY), one SIGNAL_CI_FILE_RETRIEVAL_MESSAGE
///                       for each file system, one SIGNAL_CI_OPERATOR_PROFILE_STATUS_CHANGE for each profile offered
///
/// Removal and reset, all at once, each signal only when there was something to end:
///   1. SIGNAL_CI_MMI_STATUS_CHANGED (session closed)
///   2. SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE (reset, failed)
///   3. SIGNAL_CI_APP_MMI_ABORT_REQ and SIGNAL_CI_APPMMI_MESSAGE, for each session in ascending order
///   4. SIGNAL_CI_SAS_STATUS_CHANGE (session closed), for each session in ascending order
///   5. SIGNAL_CI_FILE_RETRIEVAL_MESSAGE (file system gone), for each file system in ascending order
///   6. SIGNAL_CI_CICAM_PLAYER_ERROR (CAM gone), SIGNAL_CI_CICAM_PLAYER_PLAYBACK_STATUS (stopped)
///   7. SIGNAL_CI_PLAYBACK_STOP_REQUEST for a recording that needs the CAM, SIGNAL_CI_RECORD_STOP_REQUEST for each
///      protected recording of a pipeline that the CAM serves
///   8. SIGNAL_CI_SAMPLE_DECRYPTION_STATUS_CHANGED (error), for each session in the order of their pipelines
///   9. SIGNAL_CI_OPERATOR_PROFILE_STATUS_CHANGE (installation or update failed)
///  10. SIGNAL_CI_TUNER_RELEASE_REPLY_STATUS (released)
///  11. SIGNAL_CI_CAM_CONNECTED_TO_PIPELINE (code 0), for each pipeline in the order in which they came
///  12. SIGNAL_CI_CA_SYSTEMS_CHANGE (none)
///  13. SIGNAL_CI_SAC_STATUS_CHANGE (code 0, CI Plus only)
///  14. SIGNAL_CI_CAM_READY_STATUS_CHANGED (CAM_STATUS_NO_CAM)
/// What is asked from the first of these on is refused; what was scheduled for the CAM does not happen any more.
class TCLifecycle
{
public:
    TCLifecycle(TSWorld& world, TSParts& parts) : m_world(world), m_parts(parts) {}

    /// \param[in] cam  name of a CAM of the definition
    TSOutcome Insert(unsigned slot, const std::string& cam);
    TSOutcome Remove(unsigned slot);
    /// Resets the CAM: everything ends as if it were pulled, then it begins anew.
    TSOutcome Reset(unsigned slot);
    void ResetAll();
    /// Keeps all CAMs from being used, or lets them begin anew.
    void SetDisabled(bool isDisabled);

    json::TCDraft State() const;

private:
    void m_Begin(TSSlot& slot);
    void m_BeginSilent(TSSlot& slot, int resets);
    void m_BecomeReady(TSSlot& slot);
    void m_End(TSSlot& slot, ECamPhase phase);
    TSOutcome m_Find(unsigned slot, TSSlot*& found);

    TSWorld& m_world;
    TSParts& m_parts;
    bool m_isDisabled = false;
};
} // namespace CIM::sim
