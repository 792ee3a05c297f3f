#pragma once

#include "BusPort.h"
#include "Clients.h"
#include "ClockDriver.h"
#include "Marker.h"
#include "Skeletons.h"

#include <set>
#include <string>
#include <vector>

namespace CIM::sim
{
class TModel;

struct TSDaemonOptions
{
    GMainContext* context = nullptr;                 ///< null: the default one
    std::string markerPath = TMarker::DefaultPath(); ///< empty: no marker
    bool isManualClock = false;
    unsigned namesAfterMs = 0; ///< from the start until the first bus name is taken
    unsigned nameStepMs = 0;   ///< from each bus name to the next
};

/// The CI daemon on the system bus, over a model: owns the interfaces' names, answers calls, sends signals. Bound to
/// the thread that runs its context.
class TDaemon
{
public:
    /// \param[in] model  outlives the daemon
    TDaemon(TModel& model, TSDaemonOptions options);
    ~TDaemon();
    TDaemon(const TDaemon&) = delete;
    TDaemon& operator=(const TDaemon&) = delete;

    /// Goes on the bus and takes the names; the marker is written when all are owned. Blocks until the bus has
    /// answered; names that are to come later are taken by timers.
    bool Start(std::string& error);
    /// Leaves the bus and removes the marker.
    void Stop();

    /// What happens when all names are owned, and when the bus is gone.
    std::function<void()> onReady;
    std::function<void()> onLost;

    TModel& Model() { return m_model; }
    TSkeletons& Skeletons() { return m_skeletons; }
    TClients& Clients() { return m_clients; }
    TClockDriver& Clock() { return m_clock; }

private:
    bool m_TakeNames(std::string& error);
    bool m_TakeName(std::size_t index, std::string& error);
    void m_OnCall(DBusMessage* message);
    void m_Answer(DBusMessage* message, const TSCall& call);

    TModel& m_model;
    TSDaemonOptions m_options;
    TClients m_clients;
    TSkeletons m_skeletons;
    TBusPort m_port;
    TTimers m_timers;
    TClockDriver m_clock;
    TMarker m_marker;
    std::vector<std::string> m_names;
    std::set<std::string> m_owned;
};
} // namespace CIM::sim
