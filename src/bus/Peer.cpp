#include "bus/Peer.h"

namespace CIM
{
namespace
{
TCMessagePtr AnswerWithMachineId(DBusMessage* call)
{
    TCDBusError error;
    char* const id = dbus_try_get_local_machine_id(error.Get());
    if (id == nullptr)
    {
        return TCMessagePtr(dbus_message_new_error(call, error.Name(), error.Text()));
    }
    TCMessagePtr answer(dbus_message_new_method_return(call));
    if (answer && !dbus_message_append_args(answer.get(), DBUS_TYPE_STRING, &id, DBUS_TYPE_INVALID))
    {
        answer.reset();
    }
    dbus_free(id);
    return answer;
}
} // namespace

TCMessagePtr AnswerAsPeer(DBusMessage* call)
{
    if (dbus_message_get_type(call) != DBUS_MESSAGE_TYPE_METHOD_CALL || dbus_message_get_no_reply(call))
    {
        return nullptr;
    }
    if (dbus_message_is_method_call(call, DBUS_INTERFACE_PEER, "Ping"))
    {
        return TCMessagePtr(dbus_message_new_method_return(call));
    }
    if (dbus_message_is_method_call(call, DBUS_INTERFACE_PEER, "GetMachineId"))
    {
        return AnswerWithMachineId(call);
    }
    return TCMessagePtr(dbus_message_new_error(call, DBUS_ERROR_UNKNOWN_METHOD, "This process offers no methods"));
}
} // namespace CIM
