#pragma once

#include "cictl/DaemonAccess.h"
#include "cictl/Exit.h"

#include "protocol/SignalRows.h"

#include <glib.h>

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace CIM::cictl
{
/// A signal of the daemon. In signals about a slot, their profile is the first and their handle is the slot.
using TSSignal = protocol::SSignal;

/// The types of signals by name, and their numbers.
std::vector<std::pair<std::string_view, int>> NamedSignalTypes();

/// A type by its name, of which SIGNAL_ or SIGNAL_CI_ may be left out, or by its number. \throws json::TCJsonError
ECISignalType SignalTypeFromWord(const std::string& word);

class TCAllSignals;

/// Subscriptions, and the main loop that they come by. Ends of itself on SIGINT and SIGTERM. Bound to its thread; one
/// at a time, and not longer than its daemon.
class TCSignals
{
public:
    TCSignals(TCDaemonAccess& daemon, std::function<void(const TSSignal&)> handler);
    ~TCSignals();
    TCSignals(const TCSignals&) = delete;
    TCSignals& operator=(const TCSignals&) = delete;

    /// From now on calls back for the signals of all pipelines, and for no other reason: what is subscribed tells the
    /// daemon what is wanted. \throws TCFailure when the bus refuses
    void HearAll();
    /// Does nothing when it is subscribed already. \throws TCFailure when the daemon or the bus refuses
    void Subscribe(ECISignalType type, EProfile profile, unsigned short handle);
    /// Calls back until Quit, or until the time is over. What a callback throws comes out here.
    /// \return false when the time was over
    bool Run(unsigned milliseconds = 0);
    void Quit();
    /// Runs a piece of a GLib callback: what it throws ends Run, which throws it.
    void Guarded(const std::function<void()>& action);
    /// For who lets the main loop go on without Run: called when there is something that Run would throw.
    void OnFailure(std::function<void()> handler) { m_onFailure = std::move(handler); }
    bool IsInterrupted() const { return m_interruption != EXIT_ANSWERED; }
    /// What to exit with when interrupted. \param[in] otherwise  when not
    EExit Unless(EExit otherwise) const { return IsInterrupted() ? m_interruption : otherwise; }
    /// Waits for one signal. \return false when the time was over, or when interrupted
    bool Wait(unsigned milliseconds, std::function<bool(const TSSignal&)> isIt);
    /// Tells on standard error that the daemon went, and subscribes again when it is back. Run throws when the bus goes.
    void WatchDaemon();
    /// The same, but hands out what changes; who asks tells, and subscribes.
    void WatchDaemon(std::function<void(const TCBus::TSOwnerChange&)> handler);
    /// Makes all subscriptions anew, for a daemon that has come. \throws TCFailure
    void Renew();

private:
    struct TSSubscription
    {
        ECISignalType type;
        EProfile profile;
        unsigned short handle;

        bool operator==(const TSSubscription&) const = default;
    };

    static int s_OnSignal(ECISignalType type, EProfile profile, unsigned short handle, TSSignalData data, void* self);
    static gboolean s_OnInterrupt(gpointer self);
    static gboolean s_OnTerminate(gpointer self);
    static gboolean s_OnBus(gint descriptor, GIOCondition condition, gpointer self);
    static gboolean s_OnHiddenChange(gpointer self);
    static gboolean s_OnAllReadable(gint descriptor, GIOCondition condition, gpointer self);
    static gboolean s_OnAllWaiting(gpointer self);
    static gboolean s_OnTimeout(gpointer self);
    void m_Subscribe(const TSSubscription& subscription);
    void m_Interrupt(EExit exit);
    void m_TakeOwnerChanges();

    TCDaemonAccess& m_daemon;
    std::function<void(const TSSignal&)> m_handler;
    std::vector<TSSubscription> m_subscriptions;
    std::vector<guint> m_sources;
    std::unique_ptr<TCAllSignals> m_all; ///< null: the library calls back
    guint m_allWaiting = 0;
    std::function<void(const TCBus::TSOwnerChange&)> m_onOwner;
    guint m_hiddenChange = 0;
    std::exception_ptr m_thrown;
    std::function<void()> m_onFailure;
    std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> m_loop;
    EExit m_interruption = EXIT_ANSWERED;
    bool m_isTimeOver = false;
};
} // namespace CIM::cictl
