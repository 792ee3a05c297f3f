#include "soak/Daemon.h"

#include "soak/Payload.h"

#include "bus/Handles.h"
#include "support/ScriptedDaemon.h"

#include <ciapi/CINames.h>

#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <unistd.h>

namespace CIM::soak
{
namespace
{
using TMessage = TCScriptedDaemon::TMessage;

constexpr std::uint64_t CALLS_PER_SIGNAL = 10;
constexpr unsigned SIGNALS_PER_CUT_SIGNAL = 50;
constexpr std::uint64_t PLANT_EVERY = 500; // calls

/// The signal of a key with a stamp; a payload that is cut is one that the library has to drop.
TMessage SignalOf(TStamp stamp, bool isCut = false)
{
    const unsigned key = KeyOf(stamp);
    const std::uint16_t handle = HandleOf(key); // of the main profile, whose number is 0
    char payload[16] = {};
    std::memcpy(payload, &stamp, sizeof stamp);
    std::memcpy(payload + 12, &handle, sizeof handle);
    return TCScriptedDaemon::Signal("Signal", std::to_string(SignalTypeOf(key)), std::to_string(handle).c_str(),
                                    std::string_view(payload, isCut ? 15 : sizeof payload));
}

/// Replies that wait until they are due.
class TCDelayed
{
public:
    void Add(unsigned delayMs, const TMessage& reply)
    {
        const std::lock_guard lock(m_mutex);
        m_replies.emplace(TClock::now() + std::chrono::milliseconds(delayMs), reply);
        m_changed.notify_one();
    }
    [[noreturn]] void SendFor(TCScriptedDaemon& daemon)
    {
        for (std::unique_lock lock(m_mutex);;)
        {
            if (m_replies.empty())
            {
                m_changed.wait(lock);
            }
            else if (m_replies.begin()->first > TClock::now())
            {
                m_changed.wait_until(lock, m_replies.begin()->first);
            }
            else
            {
                daemon.Send(m_replies.extract(m_replies.begin()).mapped());
            }
        }
    }

private:
    using TClock = std::chrono::steady_clock;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::multimap<TClock::time_point, TMessage> m_replies; // by when they are due
};

/// What the daemon says; all of it on its thread.
class TCAnswers
{
public:
    TCAnswers(SShared& shared, unsigned number, TCDelayed& delayed)
        : m_shared(shared), m_random(shared.seed + shared.round + number), m_delayed(delayed)
    {
        for (unsigned key = 0; key < SIGNAL_KEYS; ++key)
        {
            m_stamps[key] = StampOf(number, key, 0);
        }
    }
    TMessage Answer(const TMessage& call, const std::function<void(const TMessage&)>& send);

private:
    TMessage m_AnswerRequest(const TMessage& call, short method, const SRequest& request,
                             const std::function<void(const TMessage&)>& send);
    bool m_IsPlanted(EPlant plant);

    SShared& m_shared;
    TCRandom m_random;
    TCDelayed& m_delayed;
    TFence m_stamps{};
    std::uint64_t m_handled = 0;
};

// Only once the application works: what is planted must be met by its checks, not by its start.
bool TCAnswers::m_IsPlanted(EPlant plant)
{
    return m_shared.plant == plant && m_handled % PLANT_EVERY == 0 &&
           (plant != PLANT_HANG || !m_shared.isHangPlanted.exchange(true));
}

TMessage TCAnswers::Answer(const TMessage& call, const std::function<void(const TMessage&)>& send)
{
    if (m_shared.mix.slowCallsUs != 0)
    {
        usleep(m_shared.mix.slowCallsUs);
    }
    if (++m_handled % CALLS_PER_SIGNAL == 0)
    {
        const unsigned key = m_random.Below(SIGNAL_KEYS);
        if (m_random.OneIn(SIGNALS_PER_CUT_SIGNAL))
        {
            send(SignalOf(StampOf(STRANGER, key, 0), /*isCut=*/true));
        }
        send(SignalOf(++m_stamps[key]));
        m_shared.Count(FIGURE_SENT);
    }
    if (dbus_message_get_no_reply(call.get()))
    {
        return nullptr;
    }
    dbus_int32_t header = 0;
    dbus_message_get_args(call.get(), nullptr, DBUS_TYPE_INT32, &header, DBUS_TYPE_INVALID);
    const auto method = static_cast<short>(header & 0xFFFF);
    if (dbus_message_has_interface(call.get(), CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME.c_str()))
    {
        return TCScriptedDaemon::Reply(call, 1, TreeOf(method, 1, std::nullopt));
    }
    if (method == FENCE_METHOD)
    {
        return TCScriptedDaemon::Reply(call, 1, {reinterpret_cast<const char*>(m_stamps.data()), sizeof m_stamps});
    }
    const std::string payload = TCScriptedDaemon::Payload(call.get());
    const std::size_t front = method == RAW_METHOD ? 0 : std::min(TREE_REQUEST_FRONT, payload.size());
    const auto request = ReadRequest(std::string_view(payload).substr(front), method);
    if (!request)
    {
        m_shared.Find(FINDING_WRONG, "a request of method %d and %zu bytes arrived changed", method, payload.size());
        return TCScriptedDaemon::Reply(call, 0, {});
    }
    return m_AnswerRequest(call, method, *request, send);
}

TMessage TCAnswers::m_AnswerRequest(const TMessage& call, short method, const SRequest& request,
                                    const std::function<void(const TMessage&)>& send)
{
    const bool isFaultless = request.fault == FAULT_NONE;
    if (isFaultless && m_IsPlanted(PLANT_HANG))
    {
        return nullptr;
    }
    const auto payload = [&](EMeaning meaning)
    {
        const std::uint64_t number = request.number + (isFaultless && m_IsPlanted(PLANT_SWAP) ? 1 : 0);
        const std::string bytes = BytesOf(number, method, meaning, request.answerLength);
        return method == RAW_METHOD ? bytes : TreeOf(method, ResultOf(number, meaning), bytes);
    };
    const auto reply = [&call](unsigned char status, const std::string& bytes)
    { return TCScriptedDaemon::Reply(call, status, bytes); };
    switch (request.fault)
    {
    case FAULT_TWICE:
        send(reply(1, payload(MEANING_ANSWER)));
        break;
    case FAULT_UNKNOWN_SERIAL:
    {
        const TMessage lie = reply(1, payload(MEANING_LIE));
        dbus_message_set_reply_serial(lie.get(), dbus_message_get_serial(call.get()) + 0x40000000);
        send(lie);
        break;
    }
    case FAULT_LENGTH_SHORTER:
    {
        const std::string bytes = payload(MEANING_ANSWER);
        return TCScriptedDaemon::Reply(call, 1, static_cast<int>(bytes.size() / 2), bytes);
    }
    case FAULT_ERROR:
        return TCScriptedDaemon::Error(call, ERROR_NAME, std::to_string(request.number).c_str());
    case FAULT_EMPTY:
        return {dbus_message_new_method_return(call.get()), dbus_message_unref};
    case FAULT_TREE_CUT:
    {
        const std::string tree = payload(MEANING_LIE);
        return reply(1, tree.substr(0, 1 + request.number % (tree.size() - 1)));
    }
    case FAULT_TREE_RANDOM:
        return reply(1, BytesOf(request.number, method, MEANING_LIE, request.answerLength));
    case FAULT_LATE:
    case FAULT_SILENT:
        if (request.delayMs != 0)
        {
            m_delayed.Add(request.delayMs, reply(1, payload(MEANING_ANSWER)));
        }
        return nullptr;
    default:
        break;
    }
    const bool isRefused = request.fault == FAULT_REFUSED || (isFaultless && m_IsPlanted(PLANT_REFUSE));
    return reply(isRefused ? 0 : 1, payload(MEANING_ANSWER));
}
} // namespace

int RunDaemon(SShared& shared, unsigned number)
{
    TCDelayed delayed;
    TCAnswers answers(shared, number, delayed);
    TCScriptedDaemon daemon({CI_GENERAL_CONNECTION_NAME, CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME, CI_DEBUG_CONNECTION_NAME,
                             CI_OPERATOR_PROFILE_CONNECTION_NAME},
                            [&](const TMessage& call)
                            { return answers.Answer(call, [&](const TMessage& message) { daemon.Send(message); }); });
    shared.daemonsReady.store(number);
    delayed.SendFor(daemon);
}

int RunStranger(SShared& shared)
{
    constexpr uid_t NOBODY = 65534;
    TCDBusError error;
    TCConnectionPtr connection;
    if (setgid(NOBODY) != 0 || setuid(NOBODY) != 0 || !(connection = OpenSystemBus(error)))
    {
        return 0; // only root can be another
    }
    TCRandom random(shared.seed);
    for (unsigned number = 1; dbus_connection_get_is_connected(connection.get()); ++number)
    {
        const TStamp stamp = StampOf(STRANGER, random.Below(SIGNAL_KEYS), number);
        dbus_connection_send(connection.get(), SignalOf(stamp, /*isCut=*/number % 4 == 0).get(), nullptr);
        dbus_connection_read_write_dispatch(connection.get(), 5);
    }
    return 0;
}
} // namespace CIM::soak
