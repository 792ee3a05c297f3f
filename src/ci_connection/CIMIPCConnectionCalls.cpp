#include "bus/Arguments.h"
#include "ci_connection/CallMessage.h"
#include "ci_connection/CallRouter.h"
#include "ci_connection/CIMIPCConnection.h"
#include "ci_connection/CIMResourcePriorityInheritanceWrapper.h"
#include "ci_connection/PayloadLength.h"
#include "utils/CallOutcome.h"
#include "utils/CIAPIDebug.h"
#include "utils/CIAPILog.h"

#include <ciapi/CINames.h>

#include <tvplatform/Sleep.h>
#include <tvplatform/SystemInfo.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <unistd.h>

// An error line in the name of an operation, which may be carried out by several functions.
#define OPERATION_ERROR(operation, format, ...)                                                                        \
    CIM_LOG_ERROR_AT(operation, __LINE__, "[TCCIMIPCConnection::%s] " format, operation __VA_OPT__(, ) __VA_ARGS__)

namespace CIM
{
namespace
{
constexpr int INTERFACE_CHECKS = 150;
constexpr unsigned int INTERFACE_CHECK_MS = 100;

// A copy below, a reference to the reply above.
constexpr std::size_t SMALLEST_SHARED_REPLY = 4096;

// The methods, of any interface, during which the daemon runs at the caller's priority.
bool LendsPriority(short methodId) { return methodId == 7 || methodId == 8; }

bool IsTVSSupported()
{
    static std::atomic<int> cached{-1};
    bool supported = false;
    if (cached.load() == -1 && system_info_get_custom_bool(CI_FMS_TVS_SUPPORTED.c_str(), &supported) == 0)
    {
        cached.store(supported ? 1 : 0);
    }
    return cached.load() != 0;
}

bool CheckSize(const TCMessageBuffer& input)
{
    const std::size_t length = input.GetUnreadSize();
    if (length <= protocol::CALL_PAYLOAD_LIMIT)
    {
        return true;
    }
    OPERATION_ERROR("t_PrepareMessage", "Message exceeds allowed limit for message size (size: %d, limit: %d)",
                    static_cast<int>(std::min<std::size_t>(length, INT_MAX)), protocol::CALL_PAYLOAD_LIMIT);
    return false;
}

SCallHeader MakeHeader(short methodId, const TCMessageBuffer& input, unsigned short flags)
{
    return {methodId, flags, static_cast<int>(input.GetUnreadSize()), getpid()};
}

// Keeps what an error reply says, and logs it.
void TakeErrorReply(const std::string& interfaceName, short methodId, DBusMessage* reply)
{
    TCDBusError error;
    const char* text = nullptr;
    const bool isRead = dbus_message_get_args(reply, error.Get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    const char* const givenName = dbus_message_get_error_name(reply);
    const char* const name = givenName != nullptr ? givenName : "";
    // The bus says so in the place of a daemon that went away, and this library when no reply came in time.
    const bool isMissing = dbus_message_is_error(reply, DBUS_ERROR_NO_REPLY);
    KeepOutcome(isMissing ? CALL_OUTCOME_NO_REPLY : CALL_OUTCOME_ERROR_REPLY, name, isRead ? text : "");
    if (isRead)
    {
        CIM_LOG_ERROR_AT("Call", __LINE__, "[TCCIMIPCConnection::%s][%s:%d] Error answer received [Error name: %s]: %s",
                         "Call", interfaceName.c_str(), methodId, name, text);
    }
    else
    {
        CIM_LOG_ERROR_AT("Call", __LINE__, "[TCCIMIPCConnection::%s][%s:%d] Problem with reading error answer: %s",
                         "Call", interfaceName.c_str(), methodId, error.Text());
    }
}

void AppendReplyPayload(DBusMessage* reply, std::size_t length, const char* bytes, TCMessageBuffer& output)
{
    if (length < SMALLEST_SHARED_REPLY)
    {
        output.PushConcatenated(static_cast<int>(length), bytes);
        return;
    }
    std::shared_ptr<const void> owner(dbus_message_ref(reply), [](const void* message)
                                      { dbus_message_unref(static_cast<DBusMessage*>(const_cast<void*>(message))); });
    output.PushShared(length, bytes, std::move(owner));
}

enum class EOwner
{
    NONE,
    PRESENT,
    UNKNOWN, ///< the bus did not say; the error is set
};

EOwner FindOwner(TCCallRouter& router, const char* name, TCDBusError& error)
{
    TCMessagePtr question(
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "NameHasOwner"));
    TCMessagePtr answer;
    if (!question || !dbus_message_append_args(question.get(), DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID))
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_NO_MEMORY, "Out of memory");
        return EOwner::UNKNOWN;
    }
    if (router.Call(question.get(), answer) != TCCallRouter::EResult::ANSWERED || !answer)
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_DISCONNECTED, "Connection is closed");
        return EOwner::UNKNOWN;
    }
    dbus_bool_t hasOwner = FALSE;
    if (dbus_set_error_from_message(error.Get(), answer.get()) ||
        !dbus_message_get_args(answer.get(), error.Get(), DBUS_TYPE_BOOLEAN, &hasOwner, DBUS_TYPE_INVALID))
    {
        return EOwner::UNKNOWN;
    }
    return hasOwner ? EOwner::PRESENT : EOwner::NONE;
}
} // namespace

bool TCCIMIPCConnection::t_PrepareMessage(DBusMessage* message, short methodId, TCMessageBuffer& input,
                                          unsigned short flags)
{
    return CheckSize(input) && AppendCallHeader(message, MakeHeader(methodId, input, flags)) &&
           AppendCallPayload(message, input);
}

SCallMessage TCCIMIPCConnection::m_CreateCall(const char* operation, const std::string& interfaceName, short methodId,
                                              TCMessageBuffer& input, unsigned short flags)
{
    if (!CheckSize(input))
    {
        return {};
    }
    return m_preparedMessages.Make(operation, interfaceName, MakeHeader(methodId, input, flags), input);
}

bool TCCIMIPCConnection::Call(const std::string& interfaceName, short methodId, TCMessageBuffer& input,
                              TCMessageBuffer& output)
{
    KeepOutcome(CALL_OUTCOME_NOT_SENT); // until it is
    if (!m_IsUsable(__func__))
    {
        return false;
    }
    TCCIMResourcePriorityInheritanceWrapper priority;
    if (LendsPriority(methodId))
    {
        priority.StrartPriorityInheritance();
    }
    const unsigned short flags = m_helloCondition.SendNow() ? protocol::CALL_FLAG_HELLO : 0;
    SCallMessage call = m_CreateCall(__func__, interfaceName, methodId, input, flags);
    if (!call.message)
    {
        return false;
    }
    TCMessagePtr reply;
    const TCCallRouter::EResult result = m_router->Call(call.message.get(), reply);
    if ((reply && dbus_message_get_sender(reply.get()) != nullptr) || m_router->IsAllSent())
    {
        call.Wipe(); // otherwise it may still be on its way
    }
    switch (result)
    {
    case TCCallRouter::EResult::NO_MEMORY:
        OPERATION_ERROR("Call", "Cannot send call message. Out of memory.");
        return false;
    case TCCallRouter::EResult::BROKEN:
        OPERATION_ERROR("Call", "Pending call error. Probably connection is broken.");
        return false;
    case TCCallRouter::EResult::ANSWERED:
        break;
    }
    if (!reply)
    {
        KeepOutcome(CALL_OUTCOME_NO_REPLY);
        OPERATION_ERROR("Call", "Cannot create reply message. Out of memory.");
        return false;
    }
    if (dbus_message_get_type(reply.get()) == DBUS_MESSAGE_TYPE_ERROR)
    {
        TakeErrorReply(interfaceName, methodId, reply.get());
        return false;
    }
    return m_ReadReply(reply.get(), output);
}

bool TCCIMIPCConnection::m_ReadReply(DBusMessage* reply, TCMessageBuffer& output)
{
    KeepOutcome(CALL_OUTCOME_NOT_READABLE); // until it is
    protocol::SReplyEnvelope envelope;
    const auto read = ReadArguments(reply, envelope);
    if (read.isEmpty)
    {
        OPERATION_ERROR("Call", "Reply message has no arguments.(dbus_message_iter_init)");
        return false;
    }
    if (read.IsWrong<&protocol::SReplyEnvelope::status>())
    {
        OPERATION_ERROR("Call", "Incorrect type of argument. Expected DBUS_TYPE_BYTE.");
    }
    if (!m_helloCondition.Update(envelope.status))
    {
        if (!read.IsWrong<&protocol::SReplyEnvelope::status>())
        {
            KeepOutcome(CALL_OUTCOME_REFUSED);
        }
        OPERATION_ERROR("Call", "Reply message is broken. Probably noone is listening to method calls. Reply value: %u",
                        static_cast<unsigned int>(envelope.status));
        return false;
    }
    if (read.IsWrong<&protocol::SReplyEnvelope::length>())
    {
        OPERATION_ERROR("Call", "Incorrect type of argument. Expected DBUS_TYPE_INT32.");
    }
    if (read.IsWrong<&protocol::SReplyEnvelope::payload>())
    {
        OPERATION_ERROR("Call", "Incorrect type of argument. Expected DBUS_TYPE_ARRAY.");
    }
    else
    {
        AppendReplyPayload(reply, CheckedLength("Call", envelope.length, envelope.payload.length),
                           envelope.payload.data, output);
    }
    m_helloCondition.ClearIfSentOk();
    if (read.IsWhole())
    {
        KeepOutcome(CALL_OUTCOME_ANSWERED);
    }
    return true;
}

bool TCCIMIPCConnection::CallAsync(const std::string& interfaceName, short methodId, TCMessageBuffer& input)
{
    KeepOutcome(CALL_OUTCOME_NOT_SENT); // until it is
    if (!m_IsUsable(__func__))
    {
        return false;
    }
    const unsigned short flags =
        protocol::CALL_FLAG_ONE_WAY | (m_helloCondition.SendNow() ? protocol::CALL_FLAG_HELLO : 0);
    SCallMessage call = m_CreateCall(__func__, interfaceName, methodId, input, flags);
    if (!call.message)
    {
        return false;
    }
    if (!m_router->Send(call.message.get()))
    {
        OPERATION_ERROR("CallAsync", "Cannot send call message. Out of memory. messageType[%d] serial[%u]",
                        dbus_message_get_type(call.message.get()), dbus_message_get_serial(call.message.get()));
        return false;
    }
    if (m_router->IsAllSent())
    {
        call.Wipe();
    }
    // libdbus takes a message for a bus that is gone, too.
    KeepOutcome(dbus_connection_get_is_connected(t_pAPIConnection) ? CALL_OUTCOME_SENT : CALL_OUTCOME_NOT_SENT);
    return true;
}

bool TCCIMIPCConnection::WaitForCreateInterface(const char* name)
{
    for (int attempt = 1;; ++attempt)
    {
        if (!IsTVSSupported())
        {
            OPERATION_ERROR("WaitForCreateInterface", "IsTVSSupported() is false, just return true");
            return true;
        }
        CIM_ASSERT(t_pAPIConnection != nullptr);
        if (!m_IsUsable(__func__))
        {
            return false;
        }
        TCDBusError error;
        EOwner owner = EOwner::UNKNOWN;
        if (name == nullptr)
        {
            dbus_set_error_const(error.Get(), DBUS_ERROR_INVALID_ARGS, "No name was given");
        }
        else if (dbus_validate_bus_name(name, error.Get()))
        {
            owner = FindOwner(*m_router, name, error);
        }
        if (owner == EOwner::UNKNOWN)
        {
            OPERATION_ERROR("WaitForCreateInterface", "DBus Error while checking name owner: %s", error.Text());
            return false;
        }
        if (owner == EOwner::PRESENT)
        {
            return true;
        }
        tvplatform_sleep_ms(INTERFACE_CHECK_MS);
        CIM_LOG_INFO("[TCCIMIPCConnection::%s] DBus waiting for %s interface. Try: %d/150", __func__, name, attempt);
        if (attempt == INTERFACE_CHECKS)
        {
            OPERATION_ERROR("WaitForCreateInterface", "TIMEOUT, Cannot connect to the %s interface", name);
            return false;
        }
    }
}
} // namespace CIM
