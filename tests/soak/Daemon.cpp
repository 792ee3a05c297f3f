#include "soak/Daemon.h"

#include "soak/Messages.h"
#include "soak/Payload.h"

#include <ciapi/CINames.h>

#include <map>
#include <optional>
#include <poll.h>
#include <unistd.h>

namespace CIM::soak
{
namespace
{
constexpr std::uint64_t CALLS_PER_SIGNAL = 10;
constexpr unsigned SIGNALS_PER_CUT_SIGNAL = 50;
constexpr std::uint64_t PLANT_EVERY = 500; // calls
constexpr unsigned WORKED_AT_ONCE = 64;    // messages before the socket and the clock are looked at again

/// A call as it came.
struct SCall
{
    DBusMessage* message;
    short method = -1;
    bool isTree = true;
    const unsigned char* bytes = nullptr;
    int length = 0;
};

class TCDaemon
{
public:
    TCDaemon(SShared& shared, unsigned number);
    int Run();

private:
    void m_Handle(DBusMessage* message);
    void m_Answer(const SCall& call);
    void m_AnswerRequest(const SCall& call, const SRequest& request);
    void m_Reply(const SCall& call, unsigned char status, const std::vector<unsigned char>& payload,
                 std::optional<int> statedLength = std::nullopt);
    void m_ReplyOddly(const SCall& call, EFault fault);
    void m_Signal();
    bool m_IsPlanted(EPlant plant);
    int m_SendDelayed();
    std::vector<unsigned char> m_PayloadOf(const SCall& call, const SRequest& request, EMeaning meaning) const;

    SShared& m_shared;
    const unsigned m_number;
    DBusConnection* const m_connection = Connect();
    DBusConnection* const m_forger = Connect();
    std::multimap<std::uint64_t, TMessage> m_delayed; // by when they are due
    std::uint64_t m_handled = 0;
    TFence m_stamps{};
    TCRandom m_random;
};

TCDaemon::TCDaemon(SShared& shared, unsigned number)
    : m_shared(shared), m_number(number), m_random(shared.seed + shared.round + number)
{
    m_stamps.fill(StampOf(number, 0));
    for (const std::string& name : {CI_GENERAL_CONNECTION_NAME, CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME,
                                    CI_DEBUG_CONNECTION_NAME, CI_OPERATOR_PROFILE_CONNECTION_NAME})
    {
        if (dbus_bus_request_name(m_connection, name.c_str(), DBUS_NAME_FLAG_DO_NOT_QUEUE, nullptr) !=
            DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER)
        {
            throw std::runtime_error("cannot own " + name);
        }
    }
    m_shared.daemonsReady.store(number);
}

int TCDaemon::Run()
{
    int socket = -1;
    int forgersSocket = -1;
    dbus_connection_get_unix_fd(m_connection, &socket);
    dbus_connection_get_unix_fd(m_forger, &forgersSocket);
    while (dbus_connection_get_is_connected(m_connection))
    {
        const int timeout = m_SendDelayed();
        const short events = dbus_connection_has_messages_to_send(m_connection) ? POLLIN | POLLOUT : POLLIN;
        pollfd waited[] = {{socket, events, 0}, {forgersSocket, POLLIN, 0}};
        poll(waited, 2, timeout);
        dbus_connection_read_write(m_connection, 0);
        for (unsigned count = 0; count < WORKED_AT_ONCE; ++count)
        {
            const TMessage message(dbus_connection_pop_message(m_connection));
            if (!message)
            {
                break;
            }
            m_Handle(message.get());
        }
        dbus_connection_read_write(m_forger, 0);
        while (TMessage(dbus_connection_pop_message(m_forger)))
        {
        }
    }
    return 0; // the bus is gone
}

/// \return milliseconds until the next one is due; -1 without one
int TCDaemon::m_SendDelayed()
{
    if (dbus_connection_get_dispatch_status(m_connection) == DBUS_DISPATCH_DATA_REMAINS)
    {
        return 0;
    }
    const std::uint64_t now = NowMs();
    while (!m_delayed.empty() && m_delayed.begin()->first <= now)
    {
        dbus_connection_send(m_connection, m_delayed.begin()->second.get(), nullptr);
        m_delayed.erase(m_delayed.begin());
    }
    return m_delayed.empty() ? -1 : static_cast<int>(m_delayed.begin()->first - now);
}

void TCDaemon::m_Handle(DBusMessage* message)
{
    if (dbus_message_get_type(message) != DBUS_MESSAGE_TYPE_METHOD_CALL ||
        !dbus_message_has_member(message, "MethodCall"))
    {
        return;
    }
    SCall call{message};
    DBusMessageIter iter;
    dbus_message_iter_init(message, &iter);
    if (dbus_message_iter_get_arg_type(&iter) == DBUS_TYPE_INT32)
    {
        dbus_int32_t header = 0;
        dbus_message_iter_get_basic(&iter, &header);
        call.method = static_cast<short>(header & 0xFFFF);
    }
    do
    {
        if (dbus_message_iter_get_arg_type(&iter) == DBUS_TYPE_ARRAY)
        {
            DBusMessageIter array;
            dbus_message_iter_recurse(&iter, &array);
            dbus_message_iter_get_fixed_array(&array, &call.bytes, &call.length);
        }
    } while (dbus_message_iter_next(&iter));
    ++m_handled;
    if (m_shared.mix.slowCallsUs != 0)
    {
        usleep(m_shared.mix.slowCallsUs);
    }
    if (m_handled % CALLS_PER_SIGNAL == 0)
    {
        m_Signal();
    }
    m_Answer(call);
}

void TCDaemon::m_Signal()
{
    const unsigned key = m_random.Below(SIGNAL_KEYS);
    if (m_random.OneIn(SIGNALS_PER_CUT_SIGNAL))
    {
        dbus_connection_send(m_connection, SignalOf(key, StampOf(STRANGER, 0), /*isCut=*/true).get(), nullptr);
    }
    dbus_connection_send(m_connection, SignalOf(key, ++m_stamps[key]).get(), nullptr);
    m_shared.figures.signalsSent.fetch_add(1, std::memory_order_relaxed);
}

// Only once the application works: what is planted must be met by its checks, not by its start.
bool TCDaemon::m_IsPlanted(EPlant plant)
{
    return m_shared.plant == plant && m_handled % PLANT_EVERY == 0 &&
           (plant != PLANT_HANG || m_shared.planted.exchange(1) == 0);
}

void TCDaemon::m_Answer(const SCall& call)
{
    if (dbus_message_get_no_reply(call.message))
    {
        return;
    }
    if (dbus_message_has_interface(call.message, CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME.c_str()))
    {
        m_Reply(call, 1, TreeOf(call.method, 1, nullptr));
        return;
    }
    if (call.method == FENCE_METHOD)
    {
        const auto* const bytes = reinterpret_cast<const unsigned char*>(m_stamps.data());
        m_Reply(call, 1, std::vector(bytes, bytes + sizeof m_stamps));
        return;
    }
    SCall inner = call;
    inner.isTree = call.method != RAW_METHOD;
    const int front = inner.isTree ? static_cast<int>(TREE_REQUEST_FRONT) : 0;
    inner.bytes += std::min(front, call.length);
    inner.length -= std::min(front, call.length);
    const auto request = ReadRequest(inner.bytes, static_cast<std::size_t>(inner.length), call.method);
    if (!request)
    {
        Find(m_shared, FINDING_WRONG, "a request of method %d and %d bytes arrived changed", call.method, call.length);
        m_Reply(call, 0, {});
        return;
    }
    m_AnswerRequest(inner, *request);
}

std::vector<unsigned char> TCDaemon::m_PayloadOf(const SCall& call, const SRequest& request, EMeaning meaning) const
{
    const auto bytes = BytesOf(request.number, call.method, meaning, request.answerLength);
    return call.isTree ? TreeOf(call.method, ResultOf(request.number, meaning), &bytes) : bytes;
}

void TCDaemon::m_AnswerRequest(const SCall& call, const SRequest& request)
{
    SRequest answered = request;
    if (request.fault == FAULT_NONE)
    {
        if (m_IsPlanted(PLANT_HANG))
        {
            return;
        }
        if (m_IsPlanted(PLANT_REFUSE))
        {
            m_Reply(call, 0, {});
            return;
        }
        answered.number += m_IsPlanted(PLANT_SWAP) ? 1 : 0;
    }
    const auto fault = static_cast<EFault>(request.fault);
    const auto right = [&] { return m_PayloadOf(call, answered, MEANING_ANSWER); };
    switch (fault)
    {
    case FAULT_NONE:
        m_Reply(call, 1, right());
        break;
    case FAULT_TWICE:
        m_Reply(call, 1, right());
        m_Reply(call, 1, right());
        break;
    case FAULT_LENGTH_LONGER:
        m_Reply(call, 1, right(), 0x7FFFFFF0);
        break;
    case FAULT_LENGTH_SHORTER:
        m_Reply(call, 1, right(), static_cast<int>(right().size() / 2));
        break;
    case FAULT_LENGTH_NEGATIVE:
        m_Reply(call, 1, right(), -5);
        break;
    case FAULT_REFUSED:
        m_Reply(call, 0, right());
        break;
    case FAULT_TREE_CUT:
    case FAULT_TREE_DEEP:
    case FAULT_TREE_KIND:
    case FAULT_TREE_SIZES:
    case FAULT_TREE_RANDOM:
        m_Reply(call, 1, BrokenTree(request, call.method));
        break;
    case FAULT_ERROR:
        dbus_connection_send(m_connection,
                             TMessage(dbus_message_new_error(call.message, "com.kelvora.soak.Error",
                                                             std::to_string(request.number).c_str()))
                                 .get(),
                             nullptr);
        break;
    case FAULT_UNKNOWN_SERIAL:
    case FAULT_FORGED:
    {
        const TMessage lie(dbus_message_new_method_return(call.message));
        const unsigned char status = 1;
        const auto payload = m_PayloadOf(call, request, MEANING_LIE);
        dbus_message_append_args(lie.get(), DBUS_TYPE_BYTE, &status, DBUS_TYPE_INVALID);
        AppendBytes(lie.get(), static_cast<int>(payload.size()), payload.data(), payload.size());
        if (fault == FAULT_UNKNOWN_SERIAL)
        {
            dbus_message_set_reply_serial(lie.get(), dbus_message_get_serial(call.message) + 0x40000000);
        }
        DBusConnection* const liar = fault == FAULT_FORGED ? m_forger : m_connection;
        dbus_connection_send(liar, lie.get(), nullptr);
        dbus_connection_flush(liar);
        m_Reply(call, 1, right());
        break;
    }
    case FAULT_LATE:
    case FAULT_SILENT:
        if (request.delayMs != 0)
        {
            TMessage reply(dbus_message_new_method_return(call.message));
            const unsigned char status = 1;
            const auto payload = right();
            dbus_message_append_args(reply.get(), DBUS_TYPE_BYTE, &status, DBUS_TYPE_INVALID);
            AppendBytes(reply.get(), static_cast<int>(payload.size()), payload.data(), payload.size());
            m_delayed.emplace(NowMs() + request.delayMs, std::move(reply));
        }
        break;
    default:
        m_ReplyOddly(call, fault);
    }
}

void TCDaemon::m_Reply(const SCall& call, unsigned char status, const std::vector<unsigned char>& payload,
                       std::optional<int> statedLength)
{
    const TMessage reply(dbus_message_new_method_return(call.message));
    dbus_message_append_args(reply.get(), DBUS_TYPE_BYTE, &status, DBUS_TYPE_INVALID);
    AppendBytes(reply.get(), statedLength.value_or(static_cast<int>(payload.size())), payload.data(), payload.size());
    dbus_connection_send(m_connection, reply.get(), nullptr);
}

void TCDaemon::m_ReplyOddly(const SCall& call, EFault fault)
{
    const TMessage reply(dbus_message_new_method_return(call.message));
    const unsigned char status = 1;
    const dbus_int32_t number = 1;
    const char* const text = "text";
    const char* const* const texts = &text;
    if (fault == FAULT_TYPE_STATUS)
    {
        dbus_message_append_args(reply.get(), DBUS_TYPE_INT32, &number, DBUS_TYPE_INVALID);
        AppendBytes(reply.get(), 4, text, 4);
    }
    else if (fault == FAULT_TYPE_LENGTH)
    {
        dbus_message_append_args(reply.get(), DBUS_TYPE_BYTE, &status, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    }
    else if (fault == FAULT_TYPE_BYTES)
    {
        dbus_message_append_args(reply.get(), DBUS_TYPE_BYTE, &status, DBUS_TYPE_INT32, &number, DBUS_TYPE_ARRAY,
                                 DBUS_TYPE_STRING, &texts, 1, DBUS_TYPE_INVALID);
    }
    dbus_connection_send(m_connection, reply.get(), nullptr); // FAULT_EMPTY: without arguments
}
} // namespace

int RunDaemon(SShared& shared, unsigned number) { return TCDaemon(shared, number).Run(); }

int RunStranger(SShared& shared)
{
    constexpr uid_t NOBODY = 65534;
    if (setgid(NOBODY) != 0 || setuid(NOBODY) != 0)
    {
        return 0; // only root can be another
    }
    DBusConnection* const connection = Connect();
    TCRandom random(shared.seed);
    for (unsigned number = 1; dbus_connection_get_is_connected(connection); ++number)
    {
        TMessage signal = SignalOf(random.Below(SIGNAL_KEYS), StampOf(STRANGER, number));
        if (number % 4 == 0) // of the right type, but nothing behind the two texts
        {
            const TMessage whole = std::move(signal);
            const char* type = nullptr;
            const char* handle = nullptr;
            dbus_message_get_args(whole.get(), nullptr, DBUS_TYPE_STRING, &type, DBUS_TYPE_STRING, &handle,
                                  DBUS_TYPE_INVALID);
            signal.reset(dbus_message_new_signal(dbus_message_get_path(whole.get()),
                                                 dbus_message_get_interface(whole.get()), "Signal"));
            dbus_message_append_args(signal.get(), DBUS_TYPE_STRING, &type, DBUS_TYPE_STRING, &handle,
                                     DBUS_TYPE_INVALID);
        }
        dbus_connection_send(connection, signal.get(), nullptr);
        dbus_connection_read_write_dispatch(connection, 5);
    }
    return 0;
}
} // namespace CIM::soak
