#include "ci_connection/Reply.h"

namespace CIM
{
namespace
{
TCMessagePtr MakeNoReply()
{
    TCMessagePtr error(dbus_message_new(DBUS_MESSAGE_TYPE_ERROR));
    const char* const text =
        "Did not receive a reply. Possible causes include: the remote application did not send a reply, the message "
        "bus security policy blocked the reply, the reply timeout expired, or the network connection was broken.";
    if (error && dbus_message_set_error_name(error.get(), DBUS_ERROR_NO_REPLY))
    {
        dbus_message_append_args(error.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    }
    return error;
}
} // namespace

TCMessagePtr ReadMessage(std::span<const char> bytes)
{
    return TCMessagePtr(dbus_message_demarshal(bytes.data(), static_cast<int>(bytes.size()), nullptr));
}

TCMessagePtr SReply::ToMessage() const
{
    if (bytes.Size() > 0)
    {
        return ReadMessage(Bytes());
    }
    return isLost ? nullptr : MakeNoReply();
}
} // namespace CIM
