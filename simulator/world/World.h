#pragma once

#include "Clock.h"
#include "Outcome.h"
#include "Random.h"
#include "simulator/definition/Definition.h"
#include "simulator/definition/SignalData.h"

#include <functional>
#include <set>

namespace CIM::sim
{
/// How far a CAM in a slot has come.
enum ECamPhase : int
{
    CAM_PHASE_ABSENT,
    CAM_PHASE_INIT,
    CAM_PHASE_READY,
    CAM_PHASE_FAILED,
};

const char* ToName(ECamPhase phase);

/// A slot and what is known about the CAM in it.
struct TSSlot
{
    unsigned char number = 0;
    ECamPhase phase = CAM_PHASE_ABSENT;
    TSCamDefinition cam;       ///< the model's own copy: controls and upgrades change it
    std::uint64_t session = 0; ///< event group of the CAM's presence; a new one with each insertion and reset
    ECamMode mode = CAM_MODE_CI;
    bool hasApplicationInfo = false;
    bool hasCaInfo = false;
    std::set<int> shownErrors;        ///< CI Plus error codes announced since the CAM was inserted
    std::vector<TVSHandle> pipelines; ///< served by the CAM, in the order in which they came

    bool HoldsCam() const { return phase != CAM_PHASE_ABSENT; }
    bool IsReady() const { return phase == CAM_PHASE_READY; }
};

/// What all parts of the model share: clock, randomness, definition, slots, the way out for signals.
struct TSWorld
{
    TSWorld(TSSetDefinition aDefinition, std::uint64_t seed);

    TCClock clock;
    TCRandom random;
    const TSSetDefinition definition;
    std::vector<TSSlot> slots;
    std::function<void(const TSSignal&)> sink;
    std::uint64_t lastSession = 0;

    void Raise(const TSSignal& signal)
    {
        if (sink)
        {
            sink(signal);
        }
    }

    /// The slot of that number; null when there is none.
    TSSlot* Find(unsigned slot);
    /// The slot of that number when a ready CAM is in it, else null.
    TSSlot* FindReady(unsigned slot);
    /// The first slot with a ready CAM; null when there is none.
    TSSlot* FirstReady();
    /// The slot whose CAM serves a pipeline, or else the first with a ready CAM; null when there is none.
    TSSlot* ServingOrFirstReady(const TVSHandle& pipeline);

    /// A duration as the CAM's jitter varies it; every call draws anew.
    TTime Varied(const TSSlot& slot, TTime duration);

    /// Schedules something that falls away with the CAM.
    TCClock::TEventId After(const TSSlot& slot, TTime delay, TCClock::TAction action)
    {
        return clock.After(delay, std::move(action), slot.session);
    }
};
} // namespace CIM::sim
