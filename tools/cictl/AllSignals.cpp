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
} // namespace

TCAllSignals::TCAllSignals(std::function<void(const protocol::SSignal&)> handler) : m_handler(std::move(handler))
{
    // Who owns the name is known in the order of the signals: the owner itself counts, also when it has died meanwhile.
    constexpr const char* REFUSED = "the bus refuses a match rule";
    m_bus.AddMatch(std::string("type='signal',sender='" DBUS_SERVICE_DBUS "',interface='" DBUS_INTERFACE_DBUS
                               "',member='NameOwnerChanged',arg0='") +
                       DaemonName() + "'",
                   REFUSED);
    if (const std::string owner = m_bus.OwnerOf(DaemonName()); !owner.empty())
    {
        m_senders[owner] = true;
    }
    m_bus.AddMatch("type='signal',path='" + CI_SIGNAL_SUBSCRIBER_OBJECT_NAME + "',interface='" +
                       CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME + "',member='" +
                       protocol::SIGNAL_KINDS[IPC_MESSAGE_SIGNAL].member + "'",
                   REFUSED);
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
    const traffic::TSSignal read = traffic::ReadSignal(message);
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
        constexpr const char* USER = "GetConnectionUnixUser";
        const std::optional<std::uint32_t> user = m_bus.NumberOf(USER, sender);
        known->second = user && (*user == 0 || *user == geteuid() || user == m_bus.NumberOf(USER, DaemonName()));
        if (!known->second)
        {
            std::fprintf(stderr, "cictl: the signals of %s do not count: it %s\n", sender,
                         !user ? "has left the bus" : "is not of the CI daemon's user");
        }
    }
    return known->second;
}

} // namespace CIM::cictl
