#pragma once

#include "SeenPages.h"

#include "simulator/daemon/Skeletons.h"
#include "simulator/model/Model.h"
#include "simulator/world/World.h"

namespace CIM::sim
{
/// The model in the place of a recorded daemon: what it answers and raises when the same calls come at the same times.
class TCUnderstudy
{
public:
    explicit TCUnderstudy(const TSSetDefinition& set);

    TTime Now() const { return m_model.Now(); }
    void AdvanceTo(TTime time) { m_model.AdvanceTo(time); }
    TSOutcome Do(const std::string& control, const json::TJson& arguments);
    /// Answers a call. Secrets, which a recording does not hold, are right or wrong.
    TSSpoken Call(const TSRecordedCall& call, bool isRight);
    /// Whether a signal has been raised, and not been asked for before, or will be soon: then time goes on until it is.
    bool Raises(const TSSignal& signal, TTime soon);
    /// Nobody will ask for what was raised until now.
    void ForgetRaised() { m_raised.clear(); }
    /// How often each signal was raised that nobody has asked for.
    std::map<ECISignalType, unsigned> Unasked() const;

    const TSSlot* Slot(unsigned slot) { return m_model.World().Find(slot); }
    /// Whether it shows what was read of a recorded page.
    bool Shows(const TSSeenPage& seen);

private:
    std::string m_Payload(const TSRecordedCall& call, bool isRight);
    TSSpoken m_Ask(const json::TCOperationForm& operation, const std::string& payload, bool isOneWay);

    TCModel m_model;
    TCSkeletons m_skeletons;
    std::vector<TSSignal> m_raised;
};
} // namespace CIM::sim
