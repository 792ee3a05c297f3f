#include "bus/BusCall.h"
#include "bus/Inbox.h"
#include "ci_connection/CallRouter.h"
#include "ci_connection/CIMIPCConnection.h"
#include "ci_connection/SignalReceiver.h"
#include "protocol/Envelope.h"
#include "utils/CallOutcome.h"
#include "utils/CIAPIDebug.h"
#include "utils/CIAPILog.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <string_view>

namespace CIM
{
namespace
{
constexpr std::size_t MATCH_RULE_SIZE = 256;

// A change that failed came to the same as a call would have.
void KeepFailure(bool wasSent, const TCDBusError& error)
{
    if (!wasSent)
    {
        KeepOutcome(CALL_OUTCOME_NOT_SENT);
        return;
    }
    const std::string_view name = error.Name();
    const bool isMissing = name == DBUS_ERROR_NO_REPLY || name == DBUS_ERROR_DISCONNECTED;
    KeepOutcome(isMissing ? CALL_OUTCOME_NO_REPLY : CALL_OUTCOME_ERROR_REPLY, error.Name(), error.Text());
}

// What dbus_bus_add_match and dbus_bus_remove_match do, with a bound; when there is no time left, without waiting.
void ChangeMatchRule(TCInbox& inbox, const char* change, const char* rule, std::chrono::milliseconds time,
                     TCDBusError& error)
{
    const TCMessagePtr request = MakeBusCall(change, rule);
    if (time.count() > 0 || !request)
    {
        inbox.Ask(request.get(), time, error);
        return;
    }
    dbus_message_set_no_reply(request.get(), TRUE);
    if (inbox.Send(request.get()) == 0)
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_DISCONNECTED, "Not sent");
    }
}
} // namespace

void TCCIMIPCConnection::t_CreateMatchRule(EIPCMessageType type, int messageId, char* buffer)
{
    std::snprintf(buffer, MATCH_RULE_SIZE, "path='%s', type='signal', interface='%s', member='%s', arg0='%d'",
                  m_objectPath.c_str(), m_interfaceName.c_str(), t_ConvertMsgTypeToString(type), messageId);
}

void TCCIMIPCConnection::t_CreateMatchRule(EIPCMessageType type, int messageId, const TVSHandle& handle, char* buffer)
{
    std::snprintf(buffer, MATCH_RULE_SIZE,
                  "path='%s', type='signal', interface='%s', member='%s', arg0='%d', arg1='%u'", m_objectPath.c_str(),
                  m_interfaceName.c_str(), t_ConvertMsgTypeToString(type), messageId,
                  protocol::HandleValue(handle.profile, handle.handle));
}

const char* TCCIMIPCConnection::t_ConvertMsgTypeToString(EIPCMessageType type)
{
    return TCSignalReceiver::Member(type);
}

bool TCCIMIPCConnection::AddMatchRule(EIPCMessageType type, int messageId, const TVSHandle& handle)
{
    CIM_ASSERT(t_pMainLoopConnection != nullptr);
    TCDBusError error;
    m_ChangeMatchRule("AddMatch", type, messageId, handle, error);
    if (error.IsSet())
    {
        CIM_LOG_ERROR("[TCCIMIPCConnection::%s] Cannot add match rule: %s", __func__, error.Text());
        return false;
    }
    return true;
}

bool TCCIMIPCConnection::RemoveMatchRule(EIPCMessageType type, int messageId, const TVSHandle& handle)
{
    CIM_ASSERT(t_pMainLoopConnection != nullptr);
    TCDBusError error;
    m_ChangeMatchRule("RemoveMatch", type, messageId, handle, error);
    if (error.IsSet())
    {
        CIM_LOG_ERROR("[TCCIMIPCConnection::%s] Cannot remove match rule: %s", __func__, error.Text());
        return false;
    }
    return true;
}

void TCCIMIPCConnection::m_ChangeMatchRule(const char* change, EIPCMessageType type, int messageId,
                                           const TVSHandle& handle, TCDBusError& error)
{
    std::array<char, MATCH_RULE_SIZE> rule{};
    t_CreateMatchRule(type, messageId, handle, rule.data());
    bool wasSent = false;
    if (!m_IsUsable("m_ChangeMatchRule"))
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_ACCESS_DENIED, "Not a connection that can be used");
    }
    else if (dbus_validate_utf8(rule.data(), error.Get()))
    {
        TCInbox& inbox = *m_receiver->Inbox();
        wasSent = inbox.IsOpen();
        ChangeMatchRule(inbox, change, rule.data(), m_router->TimeLeft(), error);
    }
    if (error.IsSet())
    {
        KeepFailure(wasSent, error);
    }
}

void TCCIMIPCConnection::SetCallbackFunction(EIPCMessageType type, void (*callback)(int, TCMessageBuffer&))
{
    CIM_ASSERT(type < IPC_MESSAGE_MAX);
    CIM_LOG_INFO("[TCCIMIPCConnection::%s] Receiver: %s, MsgType: %s, callback: %p", __func__, m_receiverName.c_str(),
                 t_ConvertMsgTypeToString(type), reinterpret_cast<void*>(callback));
    m_receiver->Set(type, callback);
}

void TCCIMIPCConnection::UnsetCallbackFunction(EIPCMessageType type, void (*callback)(int, TCMessageBuffer&))
{
    CIM_ASSERT(type < IPC_MESSAGE_MAX);
    const char* const member = t_ConvertMsgTypeToString(type);
    if (m_receiver->Unset(type, callback))
    {
        CIM_LOG_INFO("[TCCIMIPCConnection::%s] Receiver: %s, MsgType: %s, callback: %p", __func__,
                     m_receiverName.c_str(), member, reinterpret_cast<void*>(callback));
    }
}

EIPCMessageType TCCIMIPCConnection::t_GetMessageType(DBusMessage* message) { return m_receiver->TypeOf(message); }

DBusHandlerResult TCCIMIPCConnection::t_MessageHandler(DBusMessage* message) { return m_receiver->Handle(message); }

DBusHandlerResult TCCIMIPCConnection::t_MessageHandlerHelper(DBusConnection*, DBusMessage* message, void* userData)
{
    return static_cast<TCSignalReceiver*>(userData)->Filter(message);
}
} // namespace CIM
