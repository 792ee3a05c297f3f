#include "cictl/Signals.h"

#include "cictl/AllSignals.h"
#include "cictl/Verb.h"

#include <ciapi/CIService.h>

#include "commandline/Nearest.h"
#include "json/Signals.h"
#include "json/ToJson.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <glib-unix.h>
#include <utility>

namespace CIM::cictl
{
namespace
{
ICISignalSubscriber* Subscriber() { return TCCIService::CISignalSubscriberInstance(nullptr); }
const json::TCInterfaceForm& SubscriberForm() { return *json::FindInterface("ICISignalSubscriber"); }
} // namespace

std::vector<std::pair<std::string_view, int>> NamedSignalTypes()
{
    std::vector<std::pair<std::string_view, int>> types;
    for (const auto& [value, name] : json::Enumeration<ECISignalType>().enumerators)
    {
        if (value != SIGNAL_CI_TYPE_BEGIN && value != SIGNAL_CI_TYPE_END)
        {
            types.emplace_back(name, static_cast<int>(value));
        }
    }
    return types;
}

ECISignalType SignalTypeFromWord(const std::string& word)
{
    const json::TCJsonPath path("type");
    try
    {
        return json::SignalTypeFromJson(word, path);
    }
    catch (const json::TCJsonError&) // it may name them all, which are too many to be read
    {
        const auto types = NamedSignalTypes();
        const TNames names = NamesOf(types, [](const auto& type) { return type.first; });
        std::string question;
        for (const char* const prefix : {"", "SIGNAL_", "SIGNAL_CI_"})
        {
            question = question.empty() ? DidYouMean(prefix + word, names) : question;
        }
        throw json::TCJsonError(path, "there is no signal \"" + word + "\" (see cictl list --signals)" + question);
    }
}

TCSignals::TCSignals(TCDaemonAccess& daemon, std::function<void(const TSSignal&)> handler)
    : m_daemon(daemon), m_handler(std::move(handler)), m_loop(g_main_loop_new(nullptr, FALSE), &g_main_loop_unref)
{
    m_sources.push_back(g_unix_signal_add(SIGINT, &s_OnInterrupt, this));
    m_sources.push_back(g_unix_signal_add(SIGTERM, &s_OnTerminate, this));
}

TCSignals::~TCSignals()
{
    for (const TSSubscription& subscription : m_subscriptions)
    {
        Subscriber()->Unsubscribe(subscription.type, subscription.profile, subscription.handle, 0);
    }
    for (const guint source : m_sources)
    {
        g_source_remove(source);
    }
    m_daemon.Bus().OnHiddenChange(nullptr);
    for (const guint waiting : {m_hiddenChange, m_allWaiting})
    {
        if (waiting != 0)
        {
            g_source_remove(waiting);
        }
    }
}

void TCSignals::HearAll()
{
    m_all = std::make_unique<TCAllSignals>(
        [this](const protocol::SSignal& signal) {
            m_handler({signal.type, signal.profile, signal.handle, signal.data});
        });
    m_sources.push_back(g_unix_fd_add(m_all->Descriptor(), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR),
                                      &s_OnAllReadable, this));
    m_allWaiting = g_idle_add(&s_OnAllWaiting, this); // the bus's answers may have come behind signals
}

void TCSignals::Subscribe(ECISignalType type, EProfile profile, unsigned short handle)
{
    const TSSubscription subscription{type, profile, handle};
    if (std::find(m_subscriptions.begin(), m_subscriptions.end(), subscription) == m_subscriptions.end())
    {
        if (m_subscriptions.empty())
        {
            m_daemon.Require(SubscriberForm());
            TCCIService::CISignalSubscriberInstance(&s_OnSignal)->SetCallback(&s_OnSignal);
        }
        m_Subscribe(subscription);
        m_subscriptions.push_back(subscription);
    }
}

void TCSignals::m_Subscribe(const TSSubscription& subscription)
{
    const int result = Subscriber()->Subscribe(subscription.type, this, subscription.profile, subscription.handle, 0);
    m_daemon.RequireThrough("the subscription to " + ToString(subscription.type), SubscriberForm());
    if (result == 0)
    {
        throw TCFailure(EXIT_REFUSED, "the subscription to " + ToString(subscription.type) + " was refused");
    }
}

void TCSignals::Guarded(const std::function<void()>& action)
{
    // An exception must not unwind through the library and GLib: it waits for Run.
    try
    {
        action();
    }
    catch (...)
    {
        m_thrown = std::current_exception();
        Quit();
        if (m_onFailure)
        {
            m_onFailure();
        }
    }
}

int TCSignals::s_OnSignal(ECISignalType type, EProfile profile, unsigned short handle, TSSignalData data, void* self)
{
    if (self && !static_cast<TCSignals*>(self)->m_all)
    {
        auto& signals = *static_cast<TCSignals*>(self);
        signals.Guarded([&] { signals.m_handler({type, profile, handle, data}); });
    }
    return 0;
}

void TCSignals::m_Interrupt(EExit exit)
{
    m_interruption = exit;
    Quit();
}

gboolean TCSignals::s_OnInterrupt(gpointer self)
{
    static_cast<TCSignals*>(self)->m_Interrupt(EXIT_INTERRUPTED);
    return G_SOURCE_CONTINUE;
}

gboolean TCSignals::s_OnTerminate(gpointer self)
{
    static_cast<TCSignals*>(self)->m_Interrupt(EXIT_TERMINATED);
    return G_SOURCE_CONTINUE;
}

gboolean TCSignals::s_OnTimeout(gpointer self)
{
    static_cast<TCSignals*>(self)->m_isTimeOver = true;
    static_cast<TCSignals*>(self)->Quit();
    return G_SOURCE_CONTINUE;
}

gboolean TCSignals::s_OnBus(gint, GIOCondition, gpointer self)
{
    auto& signals = *static_cast<TCSignals*>(self);
    signals.Guarded([&] { signals.m_TakeOwnerChanges(); });
    return G_SOURCE_CONTINUE;
}

gboolean TCSignals::s_OnAllReadable(gint, GIOCondition, gpointer self)
{
    auto& signals = *static_cast<TCSignals*>(self);
    signals.Guarded([&] { signals.m_all->Take(); });
    return G_SOURCE_CONTINUE;
}

gboolean TCSignals::s_OnAllWaiting(gpointer self)
{
    auto& signals = *static_cast<TCSignals*>(self);
    signals.m_allWaiting = 0;
    signals.Guarded([&] { signals.m_all->Take(); });
    return G_SOURCE_REMOVE;
}

gboolean TCSignals::s_OnHiddenChange(gpointer self)
{
    auto& signals = *static_cast<TCSignals*>(self);
    signals.m_hiddenChange = 0;
    signals.Guarded([&] { signals.m_TakeOwnerChanges(); });
    return G_SOURCE_REMOVE;
}

void TCSignals::m_TakeOwnerChanges()
{
    for (const TCBus::TSOwnerChange& change : m_daemon.Bus().TakeOwnerChanges())
    {
        m_onOwner(change);
    }
}

void TCSignals::WatchDaemon(std::function<void(const TCBus::TSOwnerChange&)> handler)
{
    m_onOwner = std::move(handler);
    m_daemon.Bus().OnHiddenChange(
        [this]
        {
            if (m_hiddenChange == 0)
            {
                m_hiddenChange = g_idle_add(&s_OnHiddenChange, this);
            }
        });
    m_sources.push_back(g_unix_fd_add(m_daemon.Bus().Descriptor(),
                                      static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR), &s_OnBus, this));
    m_daemon.Bus().FollowOwners();
}

void TCSignals::WatchDaemon()
{
    WatchDaemon(
        [this](const TCBus::TSOwnerChange& change)
        {
            if (change.name != SubscriberForm().ConnectionName())
            {
                return;
            }
            std::fprintf(stderr, "cictl: the CI daemon %s\n", change.owner.empty() ? "is gone" : "is back");
            if (!change.owner.empty())
            {
                Renew();
            }
        });
}

void TCSignals::Renew()
{
    m_daemon.Require(SubscriberForm());
    for (const TSSubscription& subscription : m_subscriptions)
    {
        Subscriber()->Unsubscribe(subscription.type, subscription.profile, subscription.handle, 0);
        m_Subscribe(subscription);
    }
}

bool TCSignals::Run(unsigned milliseconds)
{
    m_isTimeOver = false;
    guint timeout = 0;
    if (milliseconds != 0)
    {
        timeout = g_timeout_add(milliseconds, &s_OnTimeout, this);
    }
    if (!IsInterrupted() && !m_thrown)
    {
        g_main_loop_run(m_loop.get());
    }
    if (timeout != 0)
    {
        g_source_remove(timeout);
    }
    const std::exception_ptr thrown = std::exchange(m_thrown, nullptr);
    if (thrown && !IsInterrupted()) // Ctrl-C also ends an ssh to the bus
    {
        std::rethrow_exception(thrown);
    }
    return !m_isTimeOver;
}

void TCSignals::Quit() { g_main_loop_quit(m_loop.get()); }

bool TCSignals::Wait(unsigned milliseconds, std::function<bool(const TSSignal&)> isIt)
{
    bool hasCome = false;
    const auto old = std::exchange(m_handler,
                                   [&](const TSSignal& signal)
                                   {
                                       if (!hasCome && isIt(signal))
                                       {
                                           hasCome = true;
                                           Quit();
                                       }
                                   });
    Run(milliseconds);
    m_handler = old;
    return hasCome;
}
} // namespace CIM::cictl
