#include "ci_connection/CallMessage.h"

#include "bus/Arguments.h"
#include "bus/WireHead.h"
#include "utils/CIAPILog.h"

#include <tvplatform/MessageBuffer.h>

#include <cstring>
#include <functional>
#include <new>

namespace CIM
{
namespace
{
// Where the length of the payload stands in the arguments: behind the header.
constexpr std::size_t LENGTH_OFFSET = sizeof(std::int32_t);
constexpr std::size_t ARRAY_SIZE_SIZE = sizeof(std::uint32_t);

// How far from its own place a prepared call may stand.
constexpr std::size_t PLACES = 8;

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

// A call with a payload of one byte, or none; null with an error line.
TCMessagePtr Build(const char* operation, const std::string& interfaceName, const SCallHeader& header)
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
    TCMessageBuffer payload;
    payload.PushConcatenated(header.length > 0 ? 1 : 0, "");
    const bool appended = AppendCallHeader(message.get(), header) && AppendCallPayload(message.get(), payload);
    return appended ? std::move(message) : nullptr;
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

std::span<char> TCCallHead::Make(std::size_t size)
{
    m_size = size;
    m_large.reset(size > m_small.size() ? new (std::nothrow) char[size] : nullptr);
    if (size > m_small.size() && !m_large)
    {
        m_size = 0;
    }
    return Bytes();
}

TCPreparedCalls::~TCPreparedCalls()
{
    for (const std::atomic<const SPrepared*>& prepared : m_prepared)
    {
        delete prepared.load();
    }
}

bool TCPreparedCalls::SPrepared::IsFor(const std::string& name, const SCallHeader& wanted) const
{
    return header.methodId == wanted.methodId && header.flags == wanted.flags && header.pid == wanted.pid &&
           (header.length > 0) == (wanted.length > 0) && interfaceName == name;
}

bool TCPreparedCalls::Make(const char* operation, const std::string& interfaceName, const SCallHeader& header,
                           TCCallHead& head)
try
{
    std::unique_ptr<SPrepared> own;
    const SPrepared* prepared = nullptr;
    const std::size_t place = std::hash<std::string>()(interfaceName) + static_cast<std::size_t>(header.methodId) * 31 +
                              header.flags * std::size_t(7) + (header.length > 0 ? 1 : 0);
    for (std::size_t step = 0; step < PLACES && prepared == nullptr; ++step)
    {
        std::atomic<const SPrepared*>& at = m_prepared[(place + step) % m_prepared.size()];
        const SPrepared* present = at.load(std::memory_order_acquire);
        if (present == nullptr)
        {
            own = own ? std::move(own) : m_Prepare(operation, interfaceName, header);
            if (!own)
            {
                return false;
            }
            if (at.compare_exchange_strong(present, own.get(), std::memory_order_acq_rel))
            {
                present = own.release();
            }
        }
        prepared = present->IsFor(interfaceName, header) ? present : nullptr;
    }
    if (prepared == nullptr)
    {
        own = own ? std::move(own) : m_Prepare(operation, interfaceName, header);
        prepared = own.get();
    }
    const std::span<char> bytes = prepared != nullptr ? head.Make(prepared->bytes.size()) : std::span<char>();
    if (bytes.empty())
    {
        return false;
    }
    std::memcpy(bytes.data(), prepared->bytes.data(), bytes.size());
    const auto length = static_cast<std::uint32_t>(header.length);
    const std::uint32_t preparedSize = WireNumber(bytes.data() + WIRE_BODY_SIZE_OFFSET);
    char* const body = bytes.data() + bytes.size() - preparedSize;
    SetWireNumber(bytes.data() + WIRE_BODY_SIZE_OFFSET, preparedSize + length);
    SetWireNumber(body + LENGTH_OFFSET, length);
    if (length > 0)
    {
        SetWireNumber(bytes.data() + bytes.size() - ARRAY_SIZE_SIZE, length);
    }
    return true;
}
catch (const std::bad_alloc&)
{
    LogNoMemory(operation);
    return false;
}

// The size of its body is that without the payload.
std::unique_ptr<TCPreparedCalls::SPrepared>
TCPreparedCalls::m_Prepare(const char* operation, const std::string& interfaceName, const SCallHeader& header)
{
    const TCMessagePtr message = Build(operation, interfaceName, header);
    int size = 0;
    char* bytes = nullptr;
    if (!message)
    {
        return nullptr;
    }
    if (!dbus_message_marshal(message.get(), &bytes, &size))
    {
        LogNoMemory(operation);
        return nullptr;
    }
    const std::unique_ptr<char, void (*)(char*)> owner(bytes, [](char* marshalled) { dbus_free(marshalled); });
    const std::uint32_t payloadSize = header.length > 0 ? 1 : 0;
    auto prepared = std::make_unique<SPrepared>();
    prepared->interfaceName = interfaceName;
    prepared->header = header;
    prepared->bytes.assign(bytes, bytes + size - payloadSize);
    char* const bodySize = prepared->bytes.data() + WIRE_BODY_SIZE_OFFSET;
    SetWireNumber(bodySize, WireNumber(bodySize) - payloadSize);
    return prepared;
}
} // namespace CIM
