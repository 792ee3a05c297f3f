#include "cictl/AllSignals.h"

#include "cictl/Dissector.h"
#include "cictl/Exit.h"

#include "protocol/Envelope.h"

#include <ciapi/CINames.h>

#include <cstdio>
#include <unistd.h>

namespace CIM::cictl
{
namespace
{
const std::string& DaemonName() { return json::FindInterface("ICISignalSubscriber")->ConnectionName(); }

TCMessagePtr BusCall(const char* method, const char* argument)
{
    TCMessagePtr call(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, method));
    dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &argument, DBUS_TYPE_INVALID);
    return call;
}
} // namespace

TCAllSignals::TCAllSignals(std::function<void(const protocol::SSignal&)> handler) : m_handler(std::move(handler))
{
    // Who owns the name is known in the order of the signals: the owner itself counts, also when it has died meanwhile.
    m_Add(std::string("type='signal',sender='" DBUS_SERVICE_DBUS "',interface='" DBUS_INTERFACE_DBUS
                      "',member='NameOwnerChanged',arg0='") +
          DaemonName() + "'");
    if (const std::string owner = m_bus.OwnerOf(DaemonName()); !owner.empty())
    {
        m_senders[owner] = true;
    }
    m_Add("type='signal',path='" + CI_SIGNAL_SUBSCRIBER_OBJECT_NAME + "',interface='" +
          CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME + "',member='" + protocol::SIGNAL_KINDS[IPC_MESSAGE_SIGNAL].member + "'");
}

void TCAllSignals::m_Add(const std::string& rule)
{
    TCDBusError error;
    if (!m_bus.Ask(BusCall("AddMatch", rule.c_str()).get(), error))
    {
        FailForBus("the bus refuses a match rule", error);
    }
}

void TCAllSignals::Take()
{
    const bool isThere = dbus_connection_read_write(m_bus.Get(), 0) != 0;
    while (const TCMessagePtr message{dbus_connection_pop_message(m_bus.Get())})
    {
        m_Handle(message.get());
    }
    if (!isThere || !dbus_connection_get_is_connected(m_bus.Get()))
    {
        throw TCFailure(EXIT_NO_BUS, "the system bus is gone");
    }
}

void TCAllSignals::m_Handle(DBusMessage* message)
{
    const char* name = nullptr;
    const char* former = nullptr;
    const char* owner = nullptr;
    if (dbus_message_is_signal(message, DBUS_INTERFACE_DBUS, "NameOwnerChanged") &&
        dbus_message_has_sender(message, DBUS_SERVICE_DBUS) &&
        dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING, &former, DBUS_TYPE_STRING,
                              &owner, DBUS_TYPE_INVALID))
    {
        m_senders.clear(); // another daemon's user may be another
        if (*owner != '\0')
        {
            m_senders[owner] = true;
        }
        return;
    }
    if (!dbus_message_has_interface(message, CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str()) || !m_Counts(message))
    {
        return;
    }
    const TSSignalRead read = ReadSignal(message);
    if (read.signal && read.error.empty())
    {
        m_handler(*read.signal);
        return;
    }
    std::fprintf(stderr, "cictl: a signal that is left out: %s\n", read.error.c_str());
}

bool TCAllSignals::m_Counts(DBusMessage* signal)
{
    const char* const sender = dbus_message_get_sender(signal);
    if (sender == nullptr)
    {
        return false;
    }
    const auto [known, isNew] = m_senders.try_emplace(sender, false);
    if (isNew)
    {
        const long user = m_UserOf(sender);
        known->second =
            user >= 0 && (user == 0 || user == static_cast<long>(geteuid()) || user == m_UserOf(DaemonName()));
        if (!known->second)
        {
            std::fprintf(stderr, "cictl: the signals of %s do not count: it %s\n", sender,
                         user < 0 ? "has left the bus" : "is not of the CI daemon's user");
        }
    }
    return known->second;
}

long TCAllSignals::m_UserOf(const std::string& name)
{
    TCDBusError error;
    const TCMessagePtr reply = m_bus.Ask(BusCall("GetConnectionUnixUser", name.c_str()).get(), error);
    dbus_uint32_t user = 0;
    const bool isKnown =
        reply && dbus_message_get_args(reply.get(), nullptr, DBUS_TYPE_UINT32, &user, DBUS_TYPE_INVALID);
    return isKnown ? static_cast<long>(user) : -1;
}
} // namespace CIM::cictl
