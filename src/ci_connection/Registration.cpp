#include "ci_connection/Registration.h"

#include "bus/Pending.h"
#include "ci_connection/CallRouter.h"

namespace CIM
{
namespace
{
TCMessagePtr MakeQuestion(const char* member)
{
    return TCMessagePtr(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, member));
}

TCMessagePtr MakeNameRequest(const std::string& name)
{
    const char* const text = name.c_str();
    const dbus_uint32_t flags = DBUS_NAME_FLAG_REPLACE_EXISTING;
    TCMessagePtr request = MakeQuestion("RequestName");
    const bool isComplete = request && dbus_message_append_args(request.get(), DBUS_TYPE_STRING, &text,
                                                                DBUS_TYPE_UINT32, &flags, DBUS_TYPE_INVALID);
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
    const TCMessagePtr hello = MakeQuestion("Hello");
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
    const TCPendingCallPtr hello = Ask(connection, MakeQuestion("Hello").get(), time, error);
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
