#include "bus/BusCall.h"

namespace CIM
{
TCMessagePtr MakeBusCall(const char* member)
{
    return TCMessagePtr(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, member));
}

TCMessagePtr MakeBusCall(const char* member, const char* text)
{
    TCMessagePtr call = MakeBusCall(member);
    const bool isComplete = call && dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    return isComplete ? std::move(call) : nullptr;
}
} // namespace CIM
