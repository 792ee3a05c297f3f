#include "cictl/Signals.h"

#include "cictl/Verb.h"

#include <ciapi/CIService.h>

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

unsigned short TSSignal::Number() const
{
    unsigned short number = 0;
    std::memcpy(&number, data.bytes + 2, sizeof number);
    return number;
}

TCSignals::TCSignals(TCDaemonAccess& daemon, std::function<void(const TSSignal&)> handler)
    : m_daemon(daemon), m_handler(std::move(handler)), m_loop(g_main_loop_new(nullptr, FALSE), &g_main_loop_unref)
{
    m_daemon.Require(SubscriberForm());
    m_owner = m_daemon.Bus().OwnerOf(SubscriberForm().ConnectionName());
    TCCIService::CISignalSubscriberInstance(&s_OnSignal);
    m_sources.push_back(g_unix_signal_add(SIGINT, &s_OnInterrupt, this));
    m_sources.push_back(g_unix_signal_add(SIGTERM, &s_OnInterrupt, this));
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
}

void TCSignals::Subscribe(ECISignalType type, EProfile profile, unsigned short handle)
{
    const TSSubscription subscription{type, profile, handle};
    if (std::find(m_subscriptions.begin(), m_subscriptions.end(), subscription) == m_subscriptions.end())
    {
        m_Subscribe(subscription);
        m_subscriptions.push_back(subscription);
    }
}

void TCSignals::m_Subscribe(const TSSubscription& subscription)
{
    const int result = Subscriber()->Subscribe(subscription.type, this, subscription.profile, subscription.handle, 0);
    RequireThrough("the subscription to " + ToString(subscription.type));
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
    }
}

int TCSignals::s_OnSignal(ECISignalType type, EProfile profile, unsigned short handle, TSSignalData data, void* self)
{
    if (self)
    {
        auto& signals = *static_cast<TCSignals*>(self);
        signals.Guarded([&] { signals.m_handler({type, profile, handle, data}); });
    }
    return 0;
}

gboolean TCSignals::s_OnInterrupt(gpointer self)
{
    static_cast<TCSignals*>(self)->m_isInterrupted = true;
    static_cast<TCSignals*>(self)->Quit();
    return G_SOURCE_CONTINUE;
}

gboolean TCSignals::s_OnTimeout(gpointer self)
{
    static_cast<TCSignals*>(self)->m_isTimeOver = true;
    static_cast<TCSignals*>(self)->Quit();
    return G_SOURCE_CONTINUE;
}

gboolean TCSignals::s_OnTick(gpointer self)
{
    auto& signals = *static_cast<TCSignals*>(self);
    signals.Guarded([&] { signals.m_CheckDaemon(); });
    return G_SOURCE_CONTINUE;
}

void TCSignals::WatchDaemon() { m_sources.push_back(g_timeout_add(1000, &s_OnTick, this)); }

void TCSignals::m_CheckDaemon()
{
    std::string owner = m_daemon.Bus().OwnerOf(SubscriberForm().ConnectionName());
    if (owner == m_owner)
    {
        return;
    }
    std::fprintf(stderr, "cictl: the CI daemon %s\n", owner.empty() ? "is gone" : "is back");
    m_owner = std::move(owner);
    if (!m_owner.empty())
    {
        for (const TSSubscription& subscription : m_subscriptions)
        {
            Subscriber()->Unsubscribe(subscription.type, subscription.profile, subscription.handle, 0);
            m_Subscribe(subscription);
        }
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
    if (!m_isInterrupted && !m_thrown)
    {
        g_main_loop_run(m_loop.get());
    }
    if (timeout != 0)
    {
        g_source_remove(timeout);
    }
    if (m_thrown)
    {
        std::rethrow_exception(std::exchange(m_thrown, nullptr));
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
