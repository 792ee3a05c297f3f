#include "ci_connection/Registration.h"

#include "bus/BusCall.h"
#include "ci_connection/CallRouter.h"

namespace CIM
{
namespace
{
struct TSPendingCallRelease
{
    void operator()(DBusPendingCall* pending) const
    {
        dbus_pending_call_cancel(pending);
        dbus_pending_call_unref(pending);
    }
};
/// Owns a call that was sent; cancelled when released.
using TCPendingCallPtr = std::unique_ptr<DBusPendingCall, TSPendingCallRelease>;

/// Sends a method call, without waiting. \param call  null: no memory \return null with the error set
TCPendingCallPtr Ask(DBusConnection* connection, DBusMessage* call, std::chrono::milliseconds time, TCDBusError& error)
{
    DBusPendingCall* pending = nullptr;
    if (call == nullptr || !dbus_connection_send_with_reply(connection, call, &pending, static_cast<int>(time.count())))
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_NO_MEMORY, "Out of memory");
    }
    else if (pending == nullptr)
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_DISCONNECTED, "Connection is closed");
    }
    return TCPendingCallPtr(pending);
}

/// Blocks until the answer or the end of the call's time. \return null with the error set
TCMessagePtr Answer(const TCPendingCallPtr& pending, TCDBusError& error)
{
    if (!pending)
    {
        return nullptr;
    }
    dbus_pending_call_block(pending.get());
    TCMessagePtr answer(dbus_pending_call_steal_reply(pending.get()));
    return dbus_set_error_from_message(error.Get(), answer.get()) ? nullptr : std::move(answer);
}

TCMessagePtr MakeNameRequest(const std::string& name)
{
    const dbus_uint32_t flags = DBUS_NAME_FLAG_REPLACE_EXISTING;
    TCMessagePtr request = MakeBusCall("RequestName", name.c_str());
    const bool isComplete =
        request && dbus_message_append_args(request.get(), DBUS_TYPE_UINT32, &flags, DBUS_TYPE_INVALID);
    return isComplete ? std::move(request) : nullptr;
}

// \return null with the error set
const char* UniqueName(DBusMessage* answer, TCDBusError& error)
{
    const char* name = nullptr;
    const bool isNamed =
        answer != nullptr && dbus_message_get_args(answer, error.Get(), DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID);
    return isNamed ? name : nullptr;
}
} // namespace

std::string Register(TCCallRouter& router, TCDBusError& error)
{
    const TCMessagePtr hello = MakeBusCall("Hello");
    TCMessagePtr answer;
    if (hello && router.Call(hello.get(), answer) == TCCallRouter::EResult::BROKEN)
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_DISCONNECTED, "Connection is closed");
        return {};
    }
    if (!answer)
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_NO_MEMORY, "Out of memory");
        return {};
    }
    const bool isError = dbus_set_error_from_message(error.Get(), answer.get());
    const char* const name = isError ? nullptr : UniqueName(answer.get(), error);
    return name != nullptr ? name : std::string();
}

void Register(DBusConnection* connection, const std::function<std::optional<std::string>()>& meanwhile,
              std::chrono::milliseconds time, TCDBusError& error, TCDBusError& nameError)
{
    const TCPendingCallPtr hello = Ask(connection, MakeBusCall("Hello").get(), time, error);
    const std::optional<std::string> name = hello ? meanwhile() : std::nullopt;
    if (!name)
    {
        return;
    }
    TCPendingCallPtr request;
    if (dbus_validate_bus_name(name->c_str(), nameError.Get()))
    {
        request = Ask(connection, MakeNameRequest(*name).get(), time, nameError);
    }
    const TCMessagePtr answer = Answer(hello, error);
    const char* const uniqueName = UniqueName(answer.get(), error);
    if (uniqueName != nullptr && !dbus_bus_set_unique_name(connection, uniqueName))
    {
        dbus_set_error_const(error.Get(), DBUS_ERROR_NO_MEMORY, "Out of memory");
    }
    if (!error.IsSet() && !nameError.IsSet())
    {
        Answer(request, nameError);
    }
}
} // namespace CIM
