#include "ControlClient.h"

#include "Verbs.h"

#include "bus/Handles.h"
#include "json/Scalars.h"

#include <stdexcept>

namespace CIM::sim
{
namespace
{
TSControlAnswer Failed(TSControlAnswer::EStatus status, std::string text) { return {status, std::move(text)}; }

template <class T>
void AppendUnsigned(DBusMessageIter& message, int type, const json::TJson& value, const json::TCJsonPath& path)
{
    const T number = static_cast<T>(json::UnsignedFromJson(value, std::numeric_limits<T>::max(), path));
    dbus_message_iter_append_basic(&message, type, &number);
}

void Append(DBusMessageIter& message, const TSVerbArgument& row, const std::string& text)
{
    const json::TCJsonPath path(row.name);
    const json::TJson number = text.empty() ? json::TJson(0) : json::TJson(text);
    switch (row.type[0])
    {
    case DBUS_TYPE_BYTE:
        return AppendUnsigned<unsigned char>(message, DBUS_TYPE_BYTE, number, path);
    case DBUS_TYPE_UINT16:
        return AppendUnsigned<dbus_uint16_t>(message, DBUS_TYPE_UINT16, number, path);
    case DBUS_TYPE_UINT32:
        return AppendUnsigned<dbus_uint32_t>(message, DBUS_TYPE_UINT32, number, path);
    case DBUS_TYPE_UINT64:
        return AppendUnsigned<dbus_uint64_t>(message, DBUS_TYPE_UINT64, number, path);
    case DBUS_TYPE_INT32:
    {
        const auto value = static_cast<dbus_int32_t>(json::SignedFromJson(number, INT32_MIN, INT32_MAX, path));
        dbus_message_iter_append_basic(&message, DBUS_TYPE_INT32, &value);
        return;
    }
    case DBUS_TYPE_ARRAY:
    {
        const std::vector<unsigned char> bytes = json::BytesFromJson(text, path);
        const unsigned char* const first = bytes.data();
        DBusMessageIter array;
        dbus_message_iter_open_container(&message, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE_AS_STRING, &array);
        dbus_message_iter_append_fixed_array(&array, DBUS_TYPE_BYTE, &first, static_cast<int>(bytes.size()));
        dbus_message_iter_close_container(&message, &array);
        return;
    }
    default:
        if (!json::IsUtf8(text) || text.find('\0') != std::string::npos)
        {
            throw json::TCJsonError(path, "this is no UTF-8 text");
        }
        const char* const value = text.c_str();
        dbus_message_iter_append_basic(&message, DBUS_TYPE_STRING, &value);
    }
}
} // namespace

TSControlAnswer CallControl(const TSVerb& verb, const std::vector<std::string>& arguments)
{
    if (arguments.size() > verb.arguments.size())
    {
        return Failed(TSControlAnswer::USAGE, std::string(verb.name) + " takes " +
                                                  std::to_string(verb.arguments.size()) + " arguments, not " +
                                                  std::to_string(arguments.size()));
    }
    const TCMessagePtr message(
        dbus_message_new_method_call(CONTROL_NAME, CONTROL_OBJECT, CONTROL_INTERFACE, verb.name));
    DBusMessageIter iterator;
    dbus_message_iter_init_append(message.get(), &iterator);
    try
    {
        for (std::size_t i = 0; i < verb.arguments.size(); ++i)
        {
            Append(iterator, verb.arguments[i], i < arguments.size() ? arguments[i] : std::string());
        }
    }
    catch (const json::TCJsonError& error)
    {
        return Failed(TSControlAnswer::USAGE, error.what());
    }
    dbus_message_set_auto_start(message.get(), FALSE);

    TCDBusError error;
    const TCConnectionPtr connection = OpenCurrentSystemBus(error);
    if (connection == nullptr)
    {
        return Failed(TSControlAnswer::NO_SIMULATOR, std::string("no system bus: ") + error.Text());
    }
    const TCMessagePtr reply(
        dbus_connection_send_with_reply_and_block(connection.get(), message.get(), -1, error.Get()));
    if (reply == nullptr)
    {
        const bool isRefusal = dbus_error_has_name(error.Get(), CONTROL_REFUSED) ||
                               dbus_error_has_name(error.Get(), DBUS_ERROR_INVALID_ARGS);
        return Failed(isRefusal ? TSControlAnswer::REFUSED : TSControlAnswer::NO_SIMULATOR,
                      (isRefusal ? "" : "no simulator answers: ") + std::string(error.Text()));
    }
    const char* text = "";
    if (verb.hasResult && !dbus_message_get_args(reply.get(), error.Get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID))
    {
        return Failed(TSControlAnswer::REFUSED, error.Text());
    }
    return {TSControlAnswer::DONE, text};
}
} // namespace CIM::sim
