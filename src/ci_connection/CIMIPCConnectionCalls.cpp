#include "bus/Arguments.h"
#include "bus/BusCall.h"
#include "ci_connection/CallMessage.h"
#include "ci_connection/CallRouter.h"
#include "ci_connection/CIMIPCConnection.h"
#include "ci_connection/CIMResourcePriorityInheritanceWrapper.h"
#include "ci_connection/PayloadLength.h"
#include "utils/CallOutcome.h"
#include "utils/CIAPIDebug.h"
#include "utils/CIAPILog.h"

#include <ciapi/CINameLiterals.h>

#include <tvplatform/Sleep.h>
#include <tvplatform/SystemInfo.h>

#include <algorithm>
#include <atomic>
#include <climits>

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
    if (cached.load() == -1 && system_info_get_custom_bool(literals::CI_FMS_TVS_SUPPORTED, &supported) == 0)
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
    return {methodId, flags, static_cast<int>(input.GetUnreadSize()), CurrentProcess()};
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

// The owner is made when the payload is not copied.
template <class MakeOwner>
void AppendReplyPayload(std::size_t length, const char* bytes, TCMessageBuffer& output, MakeOwner makeOwner)
{
    if (length < SMALLEST_SHARED_REPLY)
    {
        output.PushConcatenated(static_cast<int>(length), bytes);
        return;
    }
    output.PushShared(length, bytes, makeOwner());
}

enum class EOwner
{
    NONE,
    PRESENT,
    UNKNOWN, ///< the bus did not say; the error is set
};

EOwner FindOwner(TCCallRouter& router, const char* name, TCDBusError& error)
{
    const TCMessagePtr question = MakeBusCall("NameHasOwner", name);
    TCMessagePtr answer;
    if (!question)
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

bool TCCIMIPCConnection::m_CreateCall(const char* operation, const std::string& interfaceName, short methodId,
                                      TCMessageBuffer& input, unsigned short flags, TCCallHead& head)
{
    return CheckSize(input) && m_preparedCalls.Make(operation, interfaceName, MakeHeader(methodId, input, flags), head);
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
    TCCallHead head;
    if (!m_CreateCall(__func__, interfaceName, methodId, input, flags, head))
    {
        return false;
    }
    SReply reply;
    switch (m_router->Call({head.Bytes(), &input}, reply))
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
    if (const auto usual = reply.head ? ReadWireReply(reply.Bytes(), *reply.head) : std::nullopt)
    {
        return m_TakeReply(TArgumentsRead<protocol::SReplyEnvelope>(), *usual, output,
                           [&reply] { return std::make_shared<const TCMessageBlock>(std::move(reply.bytes)); });
    }
    return m_ReadReply(interfaceName, methodId, reply, output);
}

// What is not the usual reply is read by libdbus.
bool TCCIMIPCConnection::m_ReadReply(const std::string& interfaceName, short methodId, const SReply& reply,
                                     TCMessageBuffer& output)
{
    const TCMessagePtr message = reply.ToMessage();
    if (!message)
    {
        KeepOutcome(CALL_OUTCOME_NO_REPLY);
        OPERATION_ERROR("Call", "Cannot create reply message. Out of memory.");
        return false;
    }
    if (dbus_message_get_type(message.get()) == DBUS_MESSAGE_TYPE_ERROR)
    {
        TakeErrorReply(interfaceName, methodId, message.get());
        return false;
    }
    protocol::SReplyEnvelope envelope;
    const auto read = ReadArguments(message.get(), envelope);
    return m_TakeReply(read, envelope, output,
                       [&message]
                       {
                           return std::shared_ptr<const void>(
                               dbus_message_ref(message.get()), [](const void* referred)
                               { dbus_message_unref(static_cast<DBusMessage*>(const_cast<void*>(referred))); });
                       });
}

template <class Read, class MakeOwner>
bool TCCIMIPCConnection::m_TakeReply(const Read& read, const protocol::SReplyEnvelope& envelope,
                                     TCMessageBuffer& output, MakeOwner makeOwner)
{
    KeepOutcome(CALL_OUTCOME_NOT_READABLE); // until it is
    if (read.isEmpty)
    {
        OPERATION_ERROR("Call", "Reply message has no arguments.(dbus_message_iter_init)");
        return false;
    }
    if (read.template IsWrong<&protocol::SReplyEnvelope::status>())
    {
        OPERATION_ERROR("Call", "Incorrect type of argument. Expected DBUS_TYPE_BYTE.");
    }
    if (!m_helloCondition.Update(envelope.status))
    {
        if (!read.template IsWrong<&protocol::SReplyEnvelope::status>())
        {
            KeepOutcome(CALL_OUTCOME_REFUSED);
        }
        OPERATION_ERROR("Call", "Reply message is broken. Probably noone is listening to method calls. Reply value: %u",
                        static_cast<unsigned int>(envelope.status));
        return false;
    }
    if (read.template IsWrong<&protocol::SReplyEnvelope::length>())
    {
        OPERATION_ERROR("Call", "Incorrect type of argument. Expected DBUS_TYPE_INT32.");
    }
    if (read.template IsWrong<&protocol::SReplyEnvelope::payload>())
    {
        OPERATION_ERROR("Call", "Incorrect type of argument. Expected DBUS_TYPE_ARRAY.");
    }
    else
    {
        AppendReplyPayload(CheckedLength("Call", envelope.length, envelope.payload.length), envelope.payload.data,
                           output, makeOwner);
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
    TCCallHead head;
    if (!m_CreateCall(__func__, interfaceName, methodId, input, flags, head))
    {
        return false;
    }
    std::uint32_t serial = 0;
    switch (m_router->Send({head.Bytes(), &input}, serial))
    {
    case TCSocketWriter::EResult::WRITTEN:
        KeepOutcome(CALL_OUTCOME_SENT);
        return true;
    case TCSocketWriter::EResult::BROKEN:
        return true; // as far as its sender can tell: the outcome says more
    case TCSocketWriter::EResult::LATE:
        OPERATION_ERROR("CallAsync", "Cannot send call message. The bus takes nothing. messageType[%d] serial[%u]",
                        DBUS_MESSAGE_TYPE_METHOD_CALL, serial);
        return false;
    case TCSocketWriter::EResult::NO_MEMORY:
        break;
    }
    OPERATION_ERROR("CallAsync", "Cannot send call message. Out of memory. messageType[%d] serial[%u]",
                    DBUS_MESSAGE_TYPE_METHOD_CALL, serial);
    return false;
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
