#include "soak/Signals.h"

#include "support/ScriptedDaemon.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <future>
#include <glib.h>
#include <limits>
#include <stdexcept>

namespace CIM::soak
{
namespace
{
constexpr unsigned FENCE_ATTEMPTS = 100;
constexpr gulong FENCE_PAUSE_US = 20'000;
constexpr std::chrono::seconds MAIN_LOOP_BOUND{30};
constexpr int CONTROL_TIMEOUT_MS = 60'000;
constexpr std::size_t EXPECTED_SIGNALS = 1 << 15; // of a key: so much memory is there from the start
constexpr std::uint64_t PLANT_EVERY = 100;

TCSignals* g_signals = nullptr;

constexpr const char* SIGNAL_INTERFACE = "com.kelvora.ciapi.SignalIFace";

std::string RuleOf(unsigned key)
{
    return std::string("path='/com/kelvora/ciapi/SignalObject', type='signal', interface='") + SIGNAL_INTERFACE +
           "', member='Signal', arg0='" + std::to_string(SignalTypeOf(key)) + "', arg1='" +
           std::to_string(HandleOf(key)) + "'";
}
} // namespace

TCSignals::TCSignals(SApplication& application, unsigned thread) : m_application(application), m_thread(thread)
{
    TCDBusError error;
    m_control = OpenSystemBus(error);
    if (!m_control)
    {
        throw std::runtime_error(error.Text());
    }
    g_signals = this;
    for (unsigned key = 0; key < SIGNAL_KEYS; ++key)
    {
        m_keys[key].delivered.reserve(EXPECTED_SIGNALS);
        m_keys[key].received.reserve(EXPECTED_SIGNALS);
        dbus_bus_add_match(m_control.get(), RuleOf(key).c_str(), nullptr);
    }
    ReadControl(); // the rules stand
    m_subscriber = TCCIService::CISignalSubscriberInstance(m_OnSignal);
}

int TCSignals::m_OnSignal(ECISignalType type, EProfile profile, unsigned short handle, TSSignalData data,
                          void* userData)
{
    TStamp stamp = 0;
    std::memcpy(&stamp, data.bytes, sizeof stamp);
    const unsigned key = KeyOf(stamp);
    SShared& shared = g_signals->m_application.shared;
    if (key >= SIGNAL_KEYS || type != SignalTypeOf(key) || handle != HandleOf(key) || profile != PROFILE_MAIN)
    {
        shared.Find(FINDING_FOREIGN, "a signal of type %d, profile %d, handle %u", type, profile, handle);
        return 1;
    }
    const bool isPlanted = ++g_signals->m_count % PLANT_EVERY == 0;
    const EPlant plant = isPlanted ? shared.plant : PLANT_NONE;
    if (plant != PLANT_LOSE)
    {
        g_signals->m_Receive(key, stamp, userData);
    }
    if (plant == PLANT_DOUBLE || plant == PLANT_INVENT)
    {
        g_signals->m_Receive(key, plant == PLANT_INVENT ? StampOf(STRANGER, key, 1) : stamp, userData);
    }
    return 1;
}

void TCSignals::m_Receive(unsigned key, TStamp stamp, const void* userData)
{
    SShared& shared = m_application.shared;
    SKey& known = m_keys[key];
    if (DaemonOf(stamp) == STRANGER || DaemonOf(stamp) == 0 || (userData != nullptr && userData != &known))
    {
        shared.Find(FINDING_FOREIGN, "signal %u came as %" PRIx64 " with %s user data", key, stamp,
                    userData == nullptr || userData == &known ? "its" : "another's");
        return;
    }
    const std::lock_guard lock(m_mutex);
    if (stamp <= known.last)
    {
        const bool isDouble = std::find(known.received.begin(), known.received.end(), stamp) != known.received.end();
        shared.Count(isDouble ? FIGURE_DOUBLED : FIGURE_DISORDERED);
        shared.Find(FINDING_DISORDER, "signal %u: %" PRIx64 " came %s behind %" PRIx64, key, stamp,
                    isDouble ? "again" : "too late", known.last);
        return;
    }
    known.last = stamp;
    known.received.push_back(stamp);
}

void TCSignals::Toggle(unsigned key)
{
    m_keys[key].isSubscribed ? m_Unsubscribe(key) : m_Subscribe(key);
    ReadControl();
}

void TCSignals::End()
{
    for (unsigned key = 0; key < SIGNAL_KEYS; ++key)
    {
        if (m_keys[key].isSubscribed)
        {
            m_Unsubscribe(key);
        }
    }
}

void TCSignals::m_Subscribe(unsigned key)
{
    {
        const TCWatchedCall watch(m_application, m_thread, 1);
        m_subscriber->Subscribe(static_cast<ECISignalType>(SignalTypeOf(key)), &m_keys[key], PROFILE_MAIN,
                                HandleOf(key), 0);
    }
    // Whatever became of the word to the daemon: the rule stands as long as there is a bus.
    m_keys[key].isSubscribed = true;
    m_keys[key].since = m_AskFence(key);
}

void TCSignals::m_Unsubscribe(unsigned key)
{
    SKey& known = m_keys[key];
    const std::optional<TStamp> until = known.since ? m_AskFence(key) : std::nullopt;
    {
        const TCWatchedCall watch(m_application, m_thread, 2);
        m_subscriber->Unsubscribe(static_cast<ECISignalType>(SignalTypeOf(key)), PROFILE_MAIN, HandleOf(key), 0);
    }
    // The bus has answered the end of the library's rule: what it delivered before is there, and is now handled.
    if (m_WaitForMainLoop())
    {
        ReadControl();
        // Without an end nothing can be compared, unless the end is that of the bus; and an exit that has begun meanwhile
        // has ended the signals.
        if (known.since && (until || m_application.shared.isBusDead.load()) && !m_application.slot.isLeaving.load())
        {
            m_Compare(key, until.value_or(std::numeric_limits<TStamp>::max()));
        }
    }
    const std::lock_guard lock(m_mutex);
    known.delivered.clear();
    known.received.clear();
    known.isSubscribed = false;
    known.since.reset();
}

std::optional<TStamp> TCSignals::m_AskFence(unsigned key)
{
    for (unsigned attempt = 0; attempt < FENCE_ATTEMPTS && !m_application.shared.isBusDead.load(); ++attempt)
    {
        if (const std::optional<TFence> fence = soak::AskFence(m_application, m_thread))
        {
            return (*fence)[key];
        }
        g_usleep(FENCE_PAUSE_US); // the daemon is away
    }
    return std::nullopt;
}

/// Until all that has come is handled.
bool TCSignals::m_WaitForMainLoop()
{
    auto* const handled = new std::promise<void>;
    std::future<void> done = handled->get_future();
    g_idle_add_full(
        G_PRIORITY_LOW,
        [](void* promise) -> gboolean
        {
            static_cast<std::promise<void>*>(promise)->set_value();
            return G_SOURCE_REMOVE;
        },
        handled, [](void* promise) { delete static_cast<std::promise<void>*>(promise); });
    const auto deadline = std::chrono::steady_clock::now() + MAIN_LOOP_BOUND;
    while (done.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready)
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            m_application.shared.Find(FINDING_STUCK, "the main loop does not come to an end of its signals");
            return false;
        }
    }
    return true;
}

void TCSignals::ReadControl()
{
    const TCMessagePtr question(
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "GetId"));
    // Behind the answer nothing is missing that was delivered before.
    const TCMessagePtr answer(
        dbus_connection_send_with_reply_and_block(m_control.get(), question.get(), CONTROL_TIMEOUT_MS, nullptr));
    while (const TCMessagePtr message{dbus_connection_pop_message(m_control.get())})
    {
        TStamp stamp = 0;
        const std::string payload = TCScriptedDaemon::Payload(message.get());
        if (!dbus_message_is_signal(message.get(), SIGNAL_INTERFACE, "Signal") || payload.size() != 2 * sizeof stamp)
        {
            continue;
        }
        std::memcpy(&stamp, payload.data(), sizeof stamp);
        if (KeyOf(stamp) < SIGNAL_KEYS && DaemonOf(stamp) != STRANGER && m_keys[KeyOf(stamp)].isSubscribed)
        {
            m_keys[KeyOf(stamp)].delivered.push_back(stamp);
        }
    }
}

void TCSignals::m_Compare(unsigned key, TStamp until)
{
    SShared& shared = m_application.shared;
    SKey& known = m_keys[key];
    const std::lock_guard lock(m_mutex);
    auto received = known.received.begin();
    // What a bus that died had not passed on yet is lost with it, but only at the end.
    const bool mayEndEarly = shared.isBusDead.load();
    const TStamp end = mayEndEarly ? std::min(until, known.last) : until;
    std::uint64_t delivered = 0;
    std::uint64_t lost = 0;
    for (const TStamp stamp : known.delivered)
    {
        if (stamp <= *known.since || stamp > end)
        {
            continue;
        }
        ++delivered;
        received = std::lower_bound(received, known.received.end(), stamp);
        if (received == known.received.end() || *received != stamp)
        {
            ++lost;
        }
    }
    shared.Count(FIGURE_DELIVERED, delivered);
    shared.Count(FIGURE_RECEIVED, delivered - lost);
    shared.Count(FIGURE_LOST, lost);
    if (lost != 0)
    {
        shared.Find(FINDING_LOST, "signal %u: %" PRIu64 " of %" PRIu64 " between %" PRIx64 " and %" PRIx64, key, lost,
                    delivered, *known.since, end);
    }
    // The other way round: nothing but what the bus delivered. The control's end may be the earlier one of a dead bus.
    for (const TStamp stamp : known.received)
    {
        if (stamp > *known.since && stamp <= end && !mayEndEarly &&
            !std::binary_search(known.delivered.begin(), known.delivered.end(), stamp))
        {
            shared.Find(FINDING_FOREIGN, "signal %u: the bus did not deliver %" PRIx64, key, stamp);
        }
    }
}
} // namespace CIM::soak
