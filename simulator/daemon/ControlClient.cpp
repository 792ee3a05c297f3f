#include "ControlClient.h"

#include "Verbs.h"

#include "bus/Handles.h"
#include "json/Scalars.h"

namespace CIM::sim
{
namespace
{
TSControlAnswer Failed(TSControlAnswer::EStatus status, std::string text) { return {status, std::move(text)}; }

void AppendText(DBusMessageIter& message, const std::string& text)
{
    const char* const characters = text.c_str();
    dbus_message_iter_append_basic(&message, DBUS_TYPE_STRING, &characters);
}

/// Appends a value that its parameter has read.
void Append(DBusMessageIter& message, const TSParameter& parameter, const json::TJson& value)
{
    const auto append = [&](int type, auto number) { dbus_message_iter_append_basic(&message, type, &number); };
    switch (const char type = parameter.Signature()[0]; type)
    {
    case DBUS_TYPE_BOOLEAN:
        return append(type, dbus_bool_t{value.get<bool>()});
    case DBUS_TYPE_BYTE:
        return append(type, value.get<unsigned char>());
    case DBUS_TYPE_UINT16:
        return append(type, value.get<dbus_uint16_t>());
    case DBUS_TYPE_INT16:
        return append(type, value.get<dbus_int16_t>());
    case DBUS_TYPE_UINT32:
        return append(type, value.get<dbus_uint32_t>());
    case DBUS_TYPE_UINT64:
        return append(type, value.get<dbus_uint64_t>());
    case DBUS_TYPE_INT32:
        return append(type, value.get<dbus_int32_t>());
    case DBUS_TYPE_INT64:
        return append(type, value.get<dbus_int64_t>());
    case DBUS_TYPE_ARRAY:
    {
        const std::vector<unsigned char> bytes = json::BytesFromJson(value, json::TCJsonPath(parameter.name));
        const unsigned char* const first = bytes.data();
        DBusMessageIter array;
        dbus_message_iter_open_container(&message, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE_AS_STRING, &array);
        dbus_message_iter_append_fixed_array(&array, DBUS_TYPE_BYTE, &first, static_cast<int>(bytes.size()));
        dbus_message_iter_close_container(&message, &array);
        return;
    }
    default:
        const std::string text = json::WordOf(value);
        if (!json::IsUtf8(text) || text.find('\0') != std::string::npos)
        {
            throw json::TCJsonError(json::TCJsonPath(parameter.name), "this is no UTF-8 text");
        }
        AppendText(message, text);
    }
}

/// The words as the verb's arguments. An empty one travels as an empty text, which means that it is left out.
void Append(DBusMessageIter& message, const TSVerb& verb, const std::vector<std::string>& words)
{
    if (words.size() > verb.parameters.size())
    {
        throw json::TCJsonError(json::TCJsonPath(), std::string(verb.name) + " takes " +
                                                        std::to_string(verb.parameters.size()) + " arguments, not " +
                                                        std::to_string(words.size()));
    }
    for (std::size_t i = 0; i < verb.parameters.size(); ++i)
    {
        const TSParameter& parameter = verb.parameters[i];
        const json::TCJsonPath path(parameter.name);
        const std::string word = i < words.size() ? words[i] : std::string();
        if (word.empty() && parameter.isNeeded)
        {
            throw json::TCJsonError(path, "this must be given: " + parameter.Describe());
        }
        if (i < words.size())
        {
            word.empty() ? AppendText(message, word)
                         : Append(message, parameter, parameter.read(parameter.FromWord(word), path));
        }
    }
}
} // namespace

TSControlAnswer CallControl(const TSVerb& verb, const std::vector<std::string>& arguments)
{
    const TCMessagePtr message(
        dbus_message_new_method_call(CONTROL_NAME, CONTROL_OBJECT, CONTROL_INTERFACE, verb.name));
    DBusMessageIter iterator;
    dbus_message_iter_init_append(message.get(), &iterator);
    try
    {
        Append(iterator, verb, arguments);
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
        if (dbus_error_has_name(error.Get(), CONTROL_REFUSED))
        {
            return Failed(TSControlAnswer::REFUSED, error.Text());
        }
        if (dbus_error_has_name(error.Get(), DBUS_ERROR_INVALID_ARGS))
        {
            return Failed(TSControlAnswer::USAGE, error.Text());
        }
        return Failed(TSControlAnswer::NO_SIMULATOR, std::string("no simulator answers: ") + error.Text());
    }
    const char* text = "";
    if (verb.hasResult && !dbus_message_get_args(reply.get(), error.Get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID))
    {
        return Failed(TSControlAnswer::REFUSED, error.Text());
    }
    return {TSControlAnswer::DONE, text};
}
} // namespace CIM::sim
