#include "SignalFaults.h"

#include "Messages.h"

#include <tvplatform/BusName.h>

#include <algorithm>

namespace CIM::sim
{
namespace
{
/// The bus name under which the library in a client receives signals: its calls come from another connection.
std::string ReceiverOf(const std::string& caller)
{
    char name[256] = {};
    int size = sizeof name - 1;
    return IPCUtility_GenerateSubConnectionName(caller.data(), static_cast<int>(caller.size()), name, &size) == 0
               ? name
               : caller;
}

/// Appends an argument of any type, which libdbus copies.
void AppendText(DBusMessageIter& arguments, const std::string& text)
{
    const char* const value = text.c_str();
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &value);
}
void AppendNumber(DBusMessageIter& arguments, dbus_int32_t value)
{
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_INT32, &value);
}
template <class T>
void AppendArray(DBusMessageIter& arguments, const char* signature, const T* values, std::size_t count)
{
    DBusMessageIter array;
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, signature, &array);
    dbus_message_iter_append_fixed_array(&array, signature[0], &values, static_cast<int>(count));
    dbus_message_iter_close_container(&arguments, &array);
}
} // namespace

TCMessagePtr MakeMalformedSignal(const std::string& shape, const TSSignal& signal)
{
    TCMessagePtr message = MakeEmptySignal(shape == "unknown-member" ? "NoSuchSignal" : SIGNAL_MEMBER);
    if (shape == "empty")
    {
        return message;
    }
    DBusMessageIter arguments;
    dbus_message_iter_init_append(message.get(), &arguments);
    const int identifier = signal.type;
    if (shape == "identifier-type")
    {
        AppendNumber(arguments, identifier);
    }
    else
    {
        AppendText(arguments, shape == "identifier-text" ? "seventeen" : std::to_string(identifier));
    }
    if (shape != "no-handle")
    {
        AppendText(arguments, std::to_string(protocol::HandleValue(signal.profile, signal.handle)));
    }
    if (shape == "no-length")
    {
        return message;
    }
    unsigned char payload[64] = {};
    const protocol::SSignalPayload right = PayloadOf(signal);
    std::copy_n(reinterpret_cast<const unsigned char*>(&right), sizeof right, payload);
    const std::size_t size = shape == "short" ? 15 : shape == "long" ? sizeof payload : sizeof right;
    if (shape == "length-type")
    {
        AppendText(arguments, std::to_string(size));
    }
    else
    {
        AppendNumber(arguments, shape == "length-lies"       ? 1000
                                : shape == "length-negative" ? -1
                                                             : static_cast<dbus_int32_t>(size));
    }
    if (shape == "payload-type")
    {
        AppendText(arguments, "sixteen bytes");
    }
    else if (shape == "payload-elements")
    {
        const dbus_int32_t numbers[] = {1, 2, 3, 4};
        AppendArray(arguments, DBUS_TYPE_INT32_AS_STRING, numbers, 4);
    }
    else if (shape != "no-payload")
    {
        AppendArray(arguments, DBUS_TYPE_BYTE_AS_STRING, payload, size);
    }
    return message;
}

void TCSignalFaults::Begin(const TSFault& fault)
{
    switch (fault.kind)
    {
    case FAULT_STORM:
        m_Storm(fault, 0, g_get_monotonic_time());
        break;
    case FAULT_MALFORMED_SIGNAL:
        for (unsigned i = 0; i < fault.count; ++i)
        {
            m_Send(fault, MakeMalformedSignal(fault.shape, fault.signal));
        }
        break;
    case FAULT_STRANGER:
        m_SendFromStranger(fault);
        break;
    default:
        break;
    }
}

void TCSignalFaults::m_Storm(const TSFault& fault, unsigned sent, gint64 startUs)
{
    constexpr unsigned BATCH = 200;          // then whoever else waits has a turn
    constexpr long OUTGOING_BYTES = 1 << 20; // more than this would only pile up here
    const auto elapsedUs = static_cast<std::uint64_t>(g_get_monotonic_time() - startUs);
    std::uint64_t due = fault.rate == 0 ? fault.count : elapsedUs * fault.rate / 1'000'000 + 1;
    due = std::min<std::uint64_t>({due, fault.count, std::uint64_t{sent} + BATCH});
    for (; sent < due && m_port.OutgoingBytes() < OUTGOING_BYTES; ++sent)
    {
        TSSignal signal = fault.signal;
        TSSignalFields fields = UnpackSignalData(signal.data);
        fields.value = sent;
        signal.data = PackSignalData(fields);
        m_Send(fault, MakeSignal(signal));
    }
    if (sent < fault.count && m_port.IsConnected())
    {
        const bool isAhead = m_port.OutgoingBytes() >= OUTGOING_BYTES || fault.rate != 0;
        m_timers.After(isAhead ? 1 : 0, [this, fault, sent, startUs] { m_Storm(fault, sent, startUs); });
    }
}

void TCSignalFaults::m_Send(const TSFault& fault, TCMessagePtr message)
{
    if (!fault.isToSubscribers)
    {
        m_port.Send(message.get()); // to whoever has a match rule
        return;
    }
    for (const std::string& client : m_clients.Subscribers())
    {
        const TCMessagePtr copy(dbus_message_copy(message.get()));
        dbus_message_set_destination(copy.get(), ReceiverOf(client).c_str());
        m_port.Send(copy.get());
    }
}

void TCSignalFaults::m_SendFromStranger(const TSFault& fault)
{
    TCDBusError error;
    const TCConnectionPtr stranger = OpenCurrentSystemBus(error);
    if (stranger == nullptr)
    {
        g_printerr("ci-daemon-sim: no connection for a stranger: %s\n", error.Text());
        return;
    }
    for (unsigned i = 0; i < fault.count; ++i)
    {
        dbus_connection_send(stranger.get(), MakeSignal(fault.signal).get(), nullptr);
    }
    dbus_connection_flush(stranger.get());
}
} // namespace CIM::sim
