#include "ci_connection/SignalReceiver.h"

#include "bus/Arguments.h"
#include "ci_connection/PayloadLength.h"
#include "utils/CIAPIDebug.h"
#include "utils/CIAPILog.h"

#include <ciapi/CINameLiterals.h>

#include <tvplatform/MessageBuffer.h>

#include <cstdlib>
#include <cstring>
#include <exception>

namespace CIM
{
std::atomic<bool> gConnectionActive{false};

namespace
{
// Below this a copy costs less than keeping the message.
constexpr std::size_t SMALLEST_LENT_PAYLOAD = 1024;

// Reads the arguments; returns null, or what is wrong with them.
const char* Unpack(DBusMessage* message, EIPCMessageType type, int& messageId, TCMessageBuffer& payload)
{
    protocol::SSignalEnvelope envelope;
    envelope.type = type;
    const auto read = ReadArguments(message, envelope);
    if (read.isEmpty)
    {
        return "Message has no arguments.";
    }
    if (read.IsWrong<&protocol::SSignalEnvelope::identifier>())
    {
        return "Incorrect type of argument. Expected DBUS_TYPE_STRING.";
    }
    if (read.IsWrong<&protocol::SSignalEnvelope::length>()) // the handle is for the bus: it may be anything
    {
        return "Incorrect type of argument. Expected DBUS_TYPE_INT32.";
    }
    if (read.IsWrong<&protocol::SSignalEnvelope::payload>())
    {
        return "Incorrect type of argument. Expected DBUS_TYPE_ARRAY.";
    }
    messageId = static_cast<int>(std::strtol(envelope.identifier, nullptr, 10));
    const std::size_t length = CheckedLength("t_MessageHandler", envelope.length, envelope.payload.length);
    const char* const bytes = envelope.payload.data;
    if (const char* const sender = dbus_message_get_sender(message))
    {
        payload.SetSender(sender);
    }
    if (length < SMALLEST_LENT_PAYLOAD)
    {
        payload.PushConcatenated(static_cast<int>(length), bytes);
    }
    else
    {
        payload.PushBorrowed(length, bytes); // the message outlives the callback
    }
    return nullptr;
}
} // namespace

TCSignalReceiver::TCSignalReceiver(const std::string& interfaceName)
    : m_interfaceName(interfaceName), m_trust(literals::CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME)
{
}

const char* TCSignalReceiver::Member(EIPCMessageType type)
{
    if (type < 0 || type >= IPC_MESSAGE_MAX)
    {
        CIM_ASSERT(false);
    }
    return protocol::SIGNAL_KINDS[static_cast<std::size_t>(type)].member;
}

void TCSignalReceiver::Open(DBusConnection* connection, TCInbox::THandler handler)
{
    m_inbox.emplace(connection, handler, this);
}

void TCSignalReceiver::Attach()
{
    if (m_inbox && !m_attached.exchange(true))
    {
        m_trust.Start(*m_inbox);
        m_inbox->Attach();
    }
}

void TCSignalReceiver::Set(EIPCMessageType type, TCallback callback)
{
    // Where there was none, none runs that would have to be waited for: whoever registers first, the facade that creates
    // the subscriber among them, does not take a mutex that is held while callbacks run.
    TCallback none = nullptr;
    if (!m_callbacks[type].compare_exchange_strong(none, callback))
    {
        const std::lock_guard lock(m_mutexes[type]);
        m_callbacks[type] = callback;
    }
    Attach(); // what is dispatched at once finds the callback
}

bool TCSignalReceiver::Unset(EIPCMessageType type, TCallback callback)
{
    const std::lock_guard lock(m_mutexes[type]);
    if (const TCallback present = m_callbacks[type]; present == nullptr || present != callback)
    {
        return false;
    }
    m_callbacks[type] = nullptr;
    return true;
}

DBusHandlerResult TCSignalReceiver::Filter(DBusMessage* message) noexcept
try
{
    const EIPCMessageType type = TypeOf(message);
    const bool isSignal = type != IPC_MESSAGE_MAX;
    if (!isSignal && m_ObserveBus(message))
    {
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    if (!m_Active())
    {
        CIM_LOG_ERROR_AT("t_MessageHandlerHelper", __LINE__,
                         "TCCIMIPCConnection::t_MessageHandlerHelper - is not active!");
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    if (!isSignal && dbus_message_is_error(message, DBUS_ERROR_LIMITS_EXCEEDED))
    {
        CIM_LOG_ERROR_AT("t_MessageHandlerHelper", __LINE__,
                         "[TCCIMIPCConnection::%s] Cannot send call message. Receiver queue overflow - "
                         "DBUS_ERROR_LIMITS_EXCEEDED. messageType[%d]",
                         "t_MessageHandlerHelper", dbus_message_get_type(message));
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    if (!isSignal)
    {
        return Handle(message);
    }
    if (m_trust.Judge(message) == TCSenderTrust::EVerdict::COUNTS)
    {
        m_Deliver(message, type);
    }
    return DBUS_HANDLER_RESULT_HANDLED;
}
catch (const std::exception& exception) // there is no memory to keep a signal in
{
    CIM_LOG_ERROR_AT("t_MessageHandlerHelper", __LINE__, "[TCCIMIPCConnection::%s] A signal is lost: %s",
                     "t_MessageHandlerHelper", exception.what());
    return DBUS_HANDLER_RESULT_HANDLED;
}

// Delivers what was kept until the bus had told its sender's user. \return whether the message was the bus's answer
bool TCSignalReceiver::m_ObserveBus(DBusMessage* message)
{
    std::vector<TCMessagePtr> released;
    const bool isAnswer = m_trust.Observe(message, released);
    for (const TCMessagePtr& signal : released)
    {
        m_Deliver(signal.get(), TypeOf(signal.get()));
    }
    return isAnswer;
}

void TCSignalReceiver::m_Deliver(DBusMessage* message, EIPCMessageType type) noexcept
{
    try
    {
        m_HandleSignal(message, type);
    }
    catch (const std::exception& exception)
    {
        CIM_LOG_ERROR_AT("t_MessageHandlerHelper", __LINE__,
                         "[TCCIMIPCConnection::%s] Exception in signal callback: %s", "t_MessageHandlerHelper",
                         exception.what());
    }
    catch (...)
    {
        CIM_LOG_ERROR_AT("t_MessageHandlerHelper", __LINE__,
                         "[TCCIMIPCConnection::%s] Exception in signal callback: %s", "t_MessageHandlerHelper",
                         "of unknown type");
    }
}

DBusHandlerResult TCSignalReceiver::Handle(DBusMessage* message)
{
    if (!m_Active())
    {
        CIM_LOG_ERROR_AT("t_MessageHandler", __LINE__,
                         "TCCIMIPCConnection::t_MessageHandler - Connection is not active!");
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    if (dbus_message_is_signal(message, DBUS_INTERFACE_LOCAL, "Disconnected"))
    {
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    const EIPCMessageType type = TypeOf(message);
    if (type == IPC_MESSAGE_MAX)
    {
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    }
    m_HandleSignal(message, type);
    return DBUS_HANDLER_RESULT_HANDLED;
}

void TCSignalReceiver::m_HandleSignal(DBusMessage* message, EIPCMessageType type)
{
    int messageId = 0;
    TCMessageBuffer payload;
    if (const char* const fault = Unpack(message, type, messageId, payload))
    {
        CIM_LOG_ERROR_AT("t_MessageHandler", __LINE__, "[TCCIMIPCConnection::%s] %s", "t_MessageHandler", fault);
        CIM_ASSERT(false);
    }
    const std::lock_guard lock(m_mutexes[type]);
    if (const TCallback callback = m_callbacks[type])
    {
        CIM_LOG_INFO_AT("t_MessageHandler", __LINE__, "[TCCIMIPCConnection::%s]  msgType: %s, msgId: %d",
                        "t_MessageHandler", Member(type), messageId);
        callback(messageId, payload);
    }
}

EIPCMessageType TCSignalReceiver::TypeOf(DBusMessage* message) const
{
    const char* const interfaceName = dbus_message_get_interface(message);
    const char* const member = dbus_message_get_member(message);
    if (dbus_message_get_type(message) != DBUS_MESSAGE_TYPE_SIGNAL || interfaceName == nullptr || member == nullptr ||
        m_interfaceName != interfaceName)
    {
        return IPC_MESSAGE_MAX;
    }
    int type = 0;
    while (type < IPC_MESSAGE_MAX && std::strcmp(member, Member(static_cast<EIPCMessageType>(type))) != 0)
    {
        ++type;
    }
    return static_cast<EIPCMessageType>(type);
}

bool TCSignalReceiver::m_Active() const { return gConnectionActive.load() && !m_refusing.load(); }
} // namespace CIM
