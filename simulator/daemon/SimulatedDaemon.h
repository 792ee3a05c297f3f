#pragma once

#include "BusPort.h"
#include "Clients.h"
#include "ClockDriver.h"
#include "Journal.h"
#include "Marker.h"
#include "SignalFaults.h"
#include "simulator/faults/Fault.h"
#include "Skeletons.h"

#include "json/Json.h"

#include <set>
#include <string>
#include <vector>

namespace CIM::sim
{
class TCModel;
struct TSCall;

struct TSSimulatedDaemonOptions
{
    GMainContext* context = nullptr;                  ///< null: the default one
    std::string markerPath = TCMarker::DefaultPath(); ///< empty: no marker
    std::uint64_t seed = 1;                           ///< of the faults' luck
    bool isManualClock = false;
    bool hasControl = true;    ///< offers the control object
    unsigned namesAfterMs = 0; ///< from the start until the first bus name is taken
    unsigned nameStepMs = 0;   ///< from each bus name to the next
};

/// An answer that somebody gives in the model's place.
struct TSGivenAnswer
{
    TCMessagePtr reply;                ///< without serial numbers and receiver; null: none is given
    unsigned afterMs = 0;              ///< real milliseconds
    std::function<void()> before = {}; ///< called right before it is sent, or is not; may be empty
};

/// The CI daemon on the system bus, over a model: owns the interfaces' names, answers calls, sends signals, goes wrong
/// when told to. Bound to the thread that runs its context.
class TCSimulatedDaemon
{
public:
    /// \param[in] model  outlives the daemon, which takes its signal sink
    TCSimulatedDaemon(TCModel& model, TSSimulatedDaemonOptions options);
    ~TCSimulatedDaemon();
    TCSimulatedDaemon(const TCSimulatedDaemon&) = delete;
    TCSimulatedDaemon& operator=(const TCSimulatedDaemon&) = delete;

    /// Goes on the bus and takes the names; the marker is written when all are owned. Blocks until the bus has
    /// answered; names that are to come later are taken by timers.
    /// \throws std::runtime_error with the reason; the daemon is then off the bus
    void Start();
    /// Leaves the bus and removes the marker.
    void Stop();

    /// Switches a fault on. \return its number; 0 for one that names no operation and has happened at once
    unsigned AddFault(TSFault fault);
    /// Sends a message that was made elsewhere; without a bus it is lost.
    void Send(DBusMessage* message) { m_port.Send(message); }
    /// Calls onQuit once the loop runs again.
    void RequestQuit();

    std::function<void()> onReady; ///< all names are owned; after each restart
    std::function<void()> onLost;  ///< the bus is gone, or a name cannot be retaken after a restart
    std::function<void()> onQuit;  ///< somebody wants the simulator to end
    /// Asked about each call before the model is; nothing: the model answers. May send messages.
    std::function<std::optional<TSGivenAnswer>(const TSJournalEntry&)> onAnswer;
    /// A call was handled; its reply is not yet sent.
    std::function<void(const TSJournalEntry&)> onCall;
    /// Answering a call has thrown, as only an answer that somebody else gives does; called while it is caught, and thrown
    /// on afterwards: the caller gets an error.
    std::function<void(const TSJournalEntry&)> onThrow;
    /// A signal is sent.
    std::function<void(const TSSignal&)> onSignal;
    /// The crash of the fault of that name: ends the process unless something else is put here.
    std::function<void(bool isAbort)> onCrash;

    TCModel& Model() { return m_model; }
    TCSkeletons& Skeletons() { return m_skeletons; }
    /// Of the thread that it is bound to; null: the default one.
    GMainContext* Context() const { return m_options.context; }
    TCClients& Clients() { return m_clients; }
    TCClockDriver& Clock() { return m_clock; }
    TCFaults& Faults() { return m_faults; }
    TCJournal& Journal() { return m_journal; }
    /// The model's state and the daemon's own.
    json::TJson State() const;

private:
    void m_TakeNames(unsigned afterMs, unsigned stepMs);
    void m_TakeName(const std::string& name);
    void m_TakeNameAfter(unsigned ms, const std::string& name);
    void m_OnCall(DBusMessage* message);
    void m_OnInterfaceCall(DBusMessage* message);
    void m_AskModel(const TSCall& call, TSJournalEntry& entry);
    void m_Reply(DBusMessage* message, const TSJournalEntry& entry, const std::optional<TSFault>& fault);
    void m_Give(DBusMessage* message, const TSJournalEntry& entry, TSGivenAnswer answer);
    /// \param[in] before  called right before it is sent; may be empty
    void m_SendAfter(unsigned ms, TCMessagePtr reply, std::function<void()> before = {});
    void m_Happen(const TSFault& fault);
    void m_Restart(const TSFault& fault);
    void m_LoseName(const TSFault& fault);
    void m_Lost(const std::string& reason);

    TCModel& m_model;
    TSSimulatedDaemonOptions m_options;
    TCClients m_clients;
    TCSkeletons m_skeletons;
    TCBusPort m_port;
    TCTimers m_timers; ///< of what belongs to the time on the bus: late replies, storms, names
    TCTimers m_events; ///< of what outlives it: coming back
    TCClockDriver m_clock;
    TCFaults m_faults;
    TCSignalFaults m_signalFaults;
    TCJournal m_journal;
    TCMarker m_marker;
    std::vector<std::string> m_names;
    std::set<std::string> m_owned;
    bool m_isLeaving = false; ///< a restart is due: what still arrives is nobody's
};
} // namespace CIM::sim
