#include "cictl/Bus.h"

#include "bus/BusCall.h"
#include "cictl/Exit.h"
#include "cictl/Host.h"

#include <tvplatform/BusName.h>

#include <array>
#include <string_view>

namespace CIM::cictl
{
namespace
{
constexpr std::chrono::seconds PATIENCE{25};

EExit ExitFor(std::string_view error)
{
    if (error == DBUS_ERROR_ACCESS_DENIED || error == DBUS_ERROR_AUTH_FAILED)
    {
        return EXIT_DENIED;
    }
    return error == DBUS_ERROR_NO_REPLY || error == DBUS_ERROR_TIMEOUT ? EXIT_TIMEOUT : EXIT_NO_BUS;
}
} // namespace

void FailForBus(const std::string& what, const TCDBusError& error)
{
    throw TCFailure(ExitFor(error.Name()), what + ": " + error.Text());
}

TCBus::TCBus(std::optional<std::chrono::milliseconds> patience) : m_patience(patience.value_or(PATIENCE))
{
    TCDBusError error;
    const auto fail = [&]
    {
        // A bus closes at once only for whom it does not want; on another machine, ssh may have ended.
        const bool isGone = m_connection ? dbus_connection_get_is_connected(m_connection.get()) == FALSE
                                         : error.Name() == std::string_view(DBUS_ERROR_DISCONNECTED);
        const bool isClosed = isGone && HostName().empty();
        const EExit exit = isClosed ? EXIT_DENIED : ExitFor(error.Name());
        throw TCFailure(exit,
                        (exit == EXIT_DENIED ? "the system bus does not let this user in" : "there is no system bus") +
                            (HostName().empty() ? std::string() : " on " + HostName()) + ": " + error.Text());
    };
    m_connection = OpenUnregisteredSystemBus(m_patience, error);
    if (!m_connection)
    {
        fail();
    }
    const TCMessagePtr hello = MakeBusCall("Hello");
    const TCMessagePtr reply = Ask(hello.get(), error);
    const char* name = nullptr;
    if (!reply || !dbus_message_get_args(reply.get(), error.Get(), DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID))
    {
        fail();
    }
    dbus_bus_set_unique_name(m_connection.get(), name);
}

TCMessagePtr TCBus::Ask(DBusMessage* call, TCDBusError& error)
{
    TCMessagePtr reply(dbus_connection_send_with_reply_and_block(m_connection.get(), call,
                                                                 static_cast<int>(m_patience.count()), error.Get()));
    if (m_onHiddenChange && dbus_connection_get_dispatch_status(m_connection.get()) == DBUS_DISPATCH_DATA_REMAINS)
    {
        m_onHiddenChange();
    }
    return reply;
}

std::string TCBus::OwnerOf(const std::string& name)
{
    const TCMessagePtr call = MakeBusCall("GetNameOwner", name.c_str());
    TCDBusError error;
    const TCMessagePtr reply = Ask(call.get(), error);
    const char* owner = nullptr;
    if (reply && dbus_message_get_args(reply.get(), error.Get(), DBUS_TYPE_STRING, &owner, DBUS_TYPE_INVALID))
    {
        return owner;
    }
    if (dbus_error_has_name(error.Get(), DBUS_ERROR_NAME_HAS_NO_OWNER))
    {
        return {};
    }
    FailForBus("the system bus does not answer", error);
}

std::optional<std::uint32_t> TCBus::NumberOf(const char* method, const std::string& name)
{
    TCDBusError error;
    const TCMessagePtr reply = Ask(MakeBusCall(method, name.c_str()).get(), error);
    dbus_uint32_t number = 0;
    const bool isTold =
        reply && dbus_message_get_args(reply.get(), error.Get(), DBUS_TYPE_UINT32, &number, DBUS_TYPE_INVALID);
    return isTold ? std::optional(number) : std::nullopt;
}

void TCBus::AddMatch(const std::string& rule, const char* what)
{
    TCDBusError error;
    if (!Ask(MakeBusCall("AddMatch", rule.c_str()).get(), error))
    {
        FailForBus(what, error);
    }
}

void TCBus::RequireApplicationName()
{
    std::array<char, 256> name{};
    int size = static_cast<int>(name.size()) - 1;
    const std::string_view unique = dbus_bus_get_unique_name(m_connection.get());
    if (IPCUtility_GenerateSubConnectionName(unique.data(), static_cast<int>(unique.size()), name.data(), &size) != 0)
    {
        return; // the library's matter
    }
    const char* const text = name.data();
    const dbus_uint32_t flags = DBUS_NAME_FLAG_DO_NOT_QUEUE;
    const TCMessagePtr request = MakeBusCall("RequestName", text);
    dbus_message_append_args(request.get(), DBUS_TYPE_UINT32, &flags, DBUS_TYPE_INVALID);
    TCDBusError error;
    if (!Ask(request.get(), error))
    {
        FailForBus("the bus does not let this user be an application of the CI daemon", error);
    }
    const TCMessagePtr release = MakeBusCall("ReleaseName", text);
    dbus_message_set_no_reply(release.get(), TRUE);
    dbus_connection_send(m_connection.get(), release.get(), nullptr);
}

void TCBus::FollowOwners()
{
    AddMatch("type='signal',sender='" DBUS_SERVICE_DBUS "',interface='" DBUS_INTERFACE_DBUS
             "',member='NameOwnerChanged',arg0namespace='com.kelvora.ciapi'",
             "the bus does not tell who comes and goes");
}

std::vector<TCBus::TSOwnerChange> TCBus::TakeOwnerChanges()
{
    std::vector<TSOwnerChange> changes;
    const bool isThere = dbus_connection_read_write(m_connection.get(), 0) != 0;
    while (const TCMessagePtr message{dbus_connection_pop_message(m_connection.get())})
    {
        const char* name = nullptr;
        const char* former = nullptr;
        const char* owner = nullptr;
        if (dbus_message_is_signal(message.get(), DBUS_INTERFACE_DBUS, "NameOwnerChanged") &&
            dbus_message_has_sender(message.get(), DBUS_SERVICE_DBUS) &&
            dbus_message_get_args(message.get(), nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING, &former,
                                  DBUS_TYPE_STRING, &owner, DBUS_TYPE_INVALID))
        {
            changes.push_back({name, owner});
        }
    }
    if (!isThere || !dbus_connection_get_is_connected(m_connection.get()))
    {
        throw TCFailure(EXIT_NO_BUS, "the system bus is gone");
    }
    return changes;
}

int TCBus::Descriptor() const
{
    int descriptor = -1;
    dbus_connection_get_unix_fd(m_connection.get(), &descriptor);
    return descriptor;
}
} // namespace CIM::cictl
