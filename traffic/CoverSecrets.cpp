#include "CoverSecrets.h"

#include "bus/Arguments.h"
#include "Messages.h"
#include "json/SecretBytes.h"

#include <cstring>

namespace CIM::traffic
{
namespace
{
/// All texts and bytes among arguments, however deep.
void CoverAll(DBusMessageIter& iter)
{
    for (int type = 0; (type = dbus_message_iter_get_arg_type(&iter)) != DBUS_TYPE_INVALID;
         dbus_message_iter_next(&iter))
    {
        protocol::SBytes bytes;
        if (TCCIMIPCUtility::m_ReadBytes(iter, bytes))
        {
            std::memset(const_cast<char*>(bytes.data), '*', static_cast<std::size_t>(bytes.length));
        }
        else if (type == DBUS_TYPE_STRING)
        {
            const char* text = nullptr;
            dbus_message_iter_get_basic(&iter, &text);
            std::memset(const_cast<char*>(text), '*', std::strlen(text));
        }
        else if (dbus_type_is_container(type))
        {
            DBusMessageIter inner;
            dbus_message_iter_recurse(&iter, &inner);
            CoverAll(inner);
        }
    }
}
} // namespace

// What libdbus lends is the message's own memory, and the message is nobody else's.
void CoverSecrets(DBusMessage* call)
{
    const json::TCInterfaceForm* const interface = InterfaceOfCall(call);
    protocol::SCallEnvelope envelope;
    const auto read = ReadArguments(call, envelope);
    const bool isCall = dbus_message_has_member(call, protocol::CALL_MEMBER) &&
                        !read.IsWrong<&protocol::SCallEnvelope::header>() && !read.hasMore && read.IsWhole();
    if (isCall)
    {
        const json::TCOperationForm* const operation =
            interface != nullptr ? interface->Find(protocol::MethodIdOf(envelope.header)) : nullptr;
        const auto length = static_cast<std::size_t>(envelope.payload.length);
        json::OverwriteSecrets(interface, operation, {const_cast<char*>(envelope.payload.data), length});
        return;
    }
    DBusMessageIter iter;
    if (dbus_message_iter_init(call, &iter))
    {
        CoverAll(iter);
    }
}
} // namespace CIM::traffic
