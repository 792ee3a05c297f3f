#include "ci_connection/CallMessage.h"

#include "bus/Arguments.h"
#include "utils/CIAPILog.h"

#include <tvplatform/MessageBuffer.h>

#include <algorithm>
#include <cstring>
#include <functional>

namespace CIM
{
namespace
{
// Above this the copy of the payload is what costs, and the same length hardly comes again.
constexpr int LARGEST_PREPARED_LENGTH = 4096;
constexpr std::array<char, LARGEST_PREPARED_LENGTH> ZEROS{};

// libdbus ends the process when it is given a name that it does not take.
bool IsCallableName(const std::string& interfaceName)
{
    return std::strlen(interfaceName.c_str()) == interfaceName.size() &&
           dbus_validate_interface(interfaceName.c_str(), nullptr) &&
           dbus_validate_bus_name(interfaceName.c_str(), nullptr);
}

void LogNoMemory(const char* operation)
{
    CIM_LOG_ERROR_AT(operation, __LINE__, "[TCCIMIPCConnection::%s] Cannot create call message. Out of memory.",
                     operation);
}

// A call message as it is sent, built argument by argument; null with an error line.
TCMessagePtr Build(const char* operation, const std::string& interfaceName, const SCallHeader& header,
                   const TCMessageBuffer& input)
{
    if (!IsCallableName(interfaceName))
    {
        CIM_LOG_ERROR_AT(operation, __LINE__,
                         "[TCCIMIPCConnection::%s] Cannot create call message. Not a valid interface name: %s",
                         operation, interfaceName.c_str());
        return nullptr;
    }
    TCMessagePtr message(dbus_message_new_method_call(interfaceName.c_str(), protocol::CALL_OBJECT_PATH,
                                                      interfaceName.c_str(), protocol::CALL_MEMBER));
    if (!message)
    {
        LogNoMemory(operation);
        return nullptr;
    }
    const bool appended = AppendCallHeader(message.get(), header) && AppendCallPayload(message.get(), input);
    return appended ? std::move(message) : nullptr;
}

// Overwrites the payload of an unsent message that nobody else has. libdbus lends the array read-only, for messages may
// be shared; this one is the caller's own copy.
void FillPayload(SCallMessage& call, const TCMessageBuffer& input)
{
    DBusMessageIter iter;
    dbus_message_iter_init(call.message.get(), &iter);
    protocol::SBytes room;
    while (!TCCIMIPCUtility::m_ReadBytes(iter, room))
    {
        if (!dbus_message_iter_next(&iter))
        {
            return; // a call without payload
        }
    }
    call.payload = const_cast<char*>(room.data);
    call.length = static_cast<std::size_t>(room.length);
    char* target = call.payload;
    const std::size_t pieces = input.GetPieceCount();
    for (std::size_t index = 0; index < pieces; ++index)
    {
        std::size_t length = 0;
        const char* const piece = input.GetPiece(index, length);
        target = std::copy_n(piece, length, target);
    }
}
} // namespace

bool AppendCallHeader(DBusMessage* message, const SCallHeader& header)
{
    protocol::SCallEnvelope envelope;
    envelope.header = protocol::HeaderOf(header.flags, header.methodId);
    envelope.length = header.length;
    envelope.processId = header.pid;
    if ((header.flags & protocol::CALL_FLAG_ONE_WAY) != 0)
    {
        dbus_message_set_no_reply(message, TRUE);
    }
    if (envelope.CarriesProgram())
    {
        envelope.program = GetProgName();
        if (!dbus_validate_utf8(envelope.program, nullptr))
        {
            CIM_LOG_ERROR_AT("t_PrepareMessage", __LINE__,
                             "[TCCIMIPCConnection::%s] The program name is not UTF-8: the bus cannot carry it",
                             "t_PrepareMessage");
            return false;
        }
    }
    // The payload, which is empty here, is appended piece by piece.
    if (!AppendArguments(message, envelope))
    {
        CIM_LOG_ERROR_AT("t_PrepareMessage", __LINE__,
                         "[TCCIMIPCConnection::%s] Cannot add arguments to call message. Out of memory.",
                         "t_PrepareMessage");
        return false;
    }
    return true;
}

bool AppendCallPayload(DBusMessage* message, const TCMessageBuffer& input)
{
    if (input.GetUnreadSize() < 1)
    {
        return true;
    }
    DBusMessageIter arguments;
    DBusMessageIter array;
    dbus_message_iter_init_append(message, &arguments);
    if (!dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE_AS_STRING, &array))
    {
        CIM_LOG_ERROR_AT("t_PrepareMessage", __LINE__,
                         "[TCCIMIPCConnection::%s] Cannot create container for call mesage data. Out of memory.",
                         "t_PrepareMessage");
        return false;
    }
    const std::size_t pieces = input.GetPieceCount();
    for (std::size_t index = 0; index < pieces; ++index)
    {
        std::size_t length = 0;
        const char* const piece = input.GetPiece(index, length);
        if (length > 0 &&
            !dbus_message_iter_append_fixed_array(&array, DBUS_TYPE_BYTE, &piece, static_cast<int>(length)))
        {
            dbus_message_iter_abandon_container(&arguments, &array);
            CIM_LOG_ERROR_AT("t_PrepareMessage", __LINE__,
                             "[TCCIMIPCConnection::%s] Cannot add data to call message. Out of memory.",
                             "t_PrepareMessage");
            return false;
        }
    }
    return dbus_message_iter_close_container(&arguments, &array);
}

void SCallMessage::Wipe()
{
    if (length > 0)
    {
        explicit_bzero(payload, length);
    }
}

SCallMessage TCPreparedMessages::Make(const char* operation, const std::string& interfaceName,
                                      const SCallHeader& header, const TCMessageBuffer& input)
{
    if (header.length > LARGEST_PREPARED_LENGTH)
    {
        return {Build(operation, interfaceName, header, input)};
    }
    TCMessagePtr prepared = m_Find(interfaceName, header);
    if (!prepared)
    {
        // Of zeros: what one caller sent, a PIN perhaps, is not kept here.
        TCMessageBuffer zeros;
        zeros.PushBorrowed(static_cast<std::size_t>(header.length), ZEROS.data());
        prepared = Build(operation, interfaceName, header, zeros);
        if (!prepared)
        {
            return {};
        }
        m_Keep(interfaceName, header, prepared.get());
    }
    SCallMessage call{TCMessagePtr(dbus_message_copy(prepared.get()))};
    if (!call.message)
    {
        LogNoMemory(operation);
        return {};
    }
    FillPayload(call, input);
    return call;
}

TCPreparedMessages::SEntry& TCPreparedMessages::m_Place(const std::string& interfaceName, const SCallHeader& header)
{
    const std::size_t hash = std::hash<std::string>()(interfaceName) + static_cast<std::size_t>(header.methodId) * 31 +
                             static_cast<std::size_t>(header.length) * 7 + header.flags;
    return m_entries[hash % m_entries.size()];
}

TCMessagePtr TCPreparedMessages::m_Find(const std::string& interfaceName, const SCallHeader& header)
{
    const std::lock_guard lock(m_mutex);
    const SEntry& entry = m_Place(interfaceName, header);
    const bool found = entry.message && entry.header == header && entry.interfaceName == interfaceName;
    return TCMessagePtr(found ? dbus_message_ref(entry.message.get()) : nullptr);
}

void TCPreparedMessages::m_Keep(const std::string& interfaceName, const SCallHeader& header, DBusMessage* message)
{
    const std::lock_guard lock(m_mutex);
    SEntry& entry = m_Place(interfaceName, header);
    entry.interfaceName = interfaceName;
    entry.header = header;
    entry.message.reset(dbus_message_ref(message));
}
} // namespace CIM
