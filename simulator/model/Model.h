#pragma once

#include "simulator/definition/Definition.h"
#include "simulator/world/Clock.h"
#include "simulator/world/Outcome.h"

#include "protocol/InterfaceList.h"

#include "json/JsonFwd.h"

#include <functional>
#include <memory>
#include <tuple>
#include <type_traits>

namespace CIM::sim
{
struct TSParts;
struct TSWorld;
class TCSubscriber;

/// The set, its slots and its CAMs: one model behind the interfaces. It knows no bus and starts no thread; it is
/// bound to the thread that uses it. Its clock is virtual and its randomness comes from the seed, so that the same
/// definition, seed, calls and times give the same signals, byte for byte.
///
/// The interfaces answer 1 (true) for done and 0 (false) for refused, as a daemon does. Signals go to the sink while a
/// call, a control or AdvanceTo runs; the sink must not call back into the model.
class TCModel
{
public:
    /// \param[in] definition  CAMs, recordings and the rest; CAMs that are to be inserted begin at time 0
    TCModel(TSSetDefinition definition, std::uint64_t seed);
    ~TCModel();
    TCModel(const TCModel&) = delete;
    TCModel& operator=(const TCModel&) = delete;

    /// One of the interfaces, such as Of<ICIGeneral>(). The reserved argument of the subscriber's operations is the id
    /// of the process that subscribes.
    template <class Interface>
    Interface& Of()
    {
        return std::get<Interface&>(m_interfaces);
    }
    /// The subscriber with what only the daemon asks: who has subscribed what.
    TCSubscriber& Subscriptions();

    /// Replaces who receives the signals; an empty function lets them go.
    void SetSignalSink(std::function<void(const TSSignal&)> sink);

    TTime Now() const;
    std::optional<TTime> NextEventAt() const;
    /// Runs what is due up to and including a time. A time in the past changes nothing.
    void AdvanceTo(TTime time);

    // Controls: what people, scenarios and tests do to the set. Controls.h offers the same, and more, by name.
    TSOutcome InsertCam(unsigned slot, const std::string& cam);
    TSOutcome RemoveCam(unsigned slot);
    TSOutcome ResetCam(unsigned slot);
    /// Every CAM begins anew, as when the daemon starts.
    void ResetAllCams();
    /// Any signal, as it is, without anything having happened.
    void RaiseSignal(const TSSignal& signal);

    /// Everything that can be known about the set, but no PIN.
    json::TJson State() const;

    /// The parts, for Controls.cpp.
    TSParts& Parts() { return *m_parts; }
    TSWorld& World() { return *m_world; }

private:
    std::unique_ptr<TSWorld> m_world;
    std::unique_ptr<TSParts> m_parts;
    protocol::TInterfaces::AsEach<std::tuple, std::add_lvalue_reference_t> m_interfaces;
};
} // namespace CIM::sim
