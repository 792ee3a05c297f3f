#include "Messages.h"

#include <vector>

namespace CIM::fuzz
{
namespace
{
constexpr unsigned MAXIMUM_DEPTH = 8;
constexpr unsigned MAXIMUM_ARGUMENTS = 64; // all their types together have 255 characters, which libdbus does not watch

/// A text that libdbus takes: it ends programs that hand it another one.
std::string TakeText(TCInput& input)
{
    std::string text(input.Bytes(input.Byte()));
    text.resize(std::min(text.find('\0'), text.size()));
    return dbus_validate_utf8(text.c_str(), nullptr) ? text : "no UTF-8";
}

/// One of some names, or any other.
std::string TakeName(TCInput& input, std::span<const std::string> names,
                     dbus_bool_t (*isValid)(const char*, DBusError*))
{
    const std::size_t index = input.Byte();
    if (index < names.size())
    {
        return names[index];
    }
    const std::string text = TakeText(input);
    return isValid(text.c_str(), nullptr) ? text : names.front();
}

template <class T>
void TakeBasic(TCInput& input, DBusMessageIter& arguments, int type)
{
    const T value = input.Number<T>();
    dbus_message_iter_append_basic(&arguments, type, &value);
}

template <class T>
void TakeArray(TCInput& input, DBusMessageIter& arguments, const char* signature, std::size_t count)
{
    std::vector<T> values(std::min(count, input.Rest().size() / sizeof(T) + 1));
    for (T& value : values)
    {
        value = input.Number<T>();
    }
    const T* const first = values.data();
    DBusMessageIter array;
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, signature, &array);
    dbus_message_iter_append_fixed_array(&array, signature[0], &first, static_cast<int>(values.size()));
    dbus_message_iter_close_container(&arguments, &array);
}

void AppendText(DBusMessageIter& arguments, const std::string& text)
{
    const char* const characters = text.c_str();
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &characters);
}

TCMessagePtr TakeWireMessage(TCInput& input)
{
    const std::string_view rest = input.Rest();
    const int needed = dbus_message_demarshal_bytes_needed(rest.data(), static_cast<int>(rest.size()));
    const std::string_view bytes = input.Bytes(needed > 0 ? static_cast<std::size_t>(needed) : rest.size());
    TCDBusError error;
    TCMessagePtr message(dbus_message_demarshal(bytes.data(), static_cast<int>(bytes.size()), error.Get()));
    Require((message != nullptr) != error.IsSet());
    return message;
}

void TakeArguments(TCInput& input, DBusMessageIter& arguments, unsigned depth, unsigned& left)
{
    // As the envelopes have them first: what a fuzzer finds most easily is then what matters most.
    while (left > 0 && !input.IsEmpty())
    {
        --left;
        switch (input.Byte() % 20)
        {
        case 0:
            return;
        case 1:
            TakeBasic<std::uint8_t>(input, arguments, DBUS_TYPE_BYTE);
            break;
        case 2:
            TakeBasic<dbus_int32_t>(input, arguments, DBUS_TYPE_INT32);
            break;
        case 3:
            AppendText(arguments, TakeText(input));
            break;
        case 4:
            TakeArray<std::uint8_t>(input, arguments, DBUS_TYPE_BYTE_AS_STRING, input.Byte());
            break;
        case 5:
            TakeArray<std::uint8_t>(input, arguments, DBUS_TYPE_BYTE_AS_STRING, input.Number<std::uint16_t>());
            break;
        case 6: // a number in decimal
            AppendText(arguments, std::to_string(input.Number<dbus_int32_t>()));
            break;
        case 7:
        {
            const dbus_bool_t value = input.Byte() & 1;
            dbus_message_iter_append_basic(&arguments, DBUS_TYPE_BOOLEAN, &value);
            break;
        }
        case 8:
            TakeBasic<dbus_int16_t>(input, arguments, DBUS_TYPE_INT16);
            break;
        case 9:
            TakeBasic<dbus_uint16_t>(input, arguments, DBUS_TYPE_UINT16);
            break;
        case 10:
            TakeBasic<dbus_uint32_t>(input, arguments, DBUS_TYPE_UINT32);
            break;
        case 11:
            TakeBasic<dbus_int64_t>(input, arguments, DBUS_TYPE_INT64);
            break;
        case 12:
            TakeBasic<dbus_uint64_t>(input, arguments, DBUS_TYPE_UINT64);
            break;
        case 13:
            TakeBasic<double>(input, arguments, DBUS_TYPE_DOUBLE);
            break;
        case 14:
            TakeArray<dbus_int32_t>(input, arguments, DBUS_TYPE_INT32_AS_STRING, input.Byte());
            break;
        case 15:
            TakeArray<std::uint8_t>(input, arguments, DBUS_TYPE_BYTE_AS_STRING, input.Rest().size());
            break;
        case 16: // an empty list of texts
        {
            DBusMessageIter array;
            dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING_AS_STRING, &array);
            dbus_message_iter_close_container(&arguments, &array);
            break;
        }
        case 17:
        {
            DBusMessageIter variant;
            dbus_message_iter_open_container(&arguments, DBUS_TYPE_VARIANT, DBUS_TYPE_STRING_AS_STRING, &variant);
            AppendText(variant, TakeText(input));
            dbus_message_iter_close_container(&arguments, &variant);
            break;
        }
        case 18:
            if (depth < MAXIMUM_DEPTH)
            {
                DBusMessageIter record;
                dbus_message_iter_open_container(&arguments, DBUS_TYPE_STRUCT, nullptr, &record);
                AppendText(record, ""); // D-Bus knows no empty record
                TakeArguments(input, record, depth + 1, left);
                dbus_message_iter_close_container(&arguments, &record);
            }
            break;
        default:
        {
            const std::string text = TakeText(input);
            const char* const signature = dbus_signature_validate(text.c_str(), nullptr) ? text.c_str() : "ay";
            dbus_message_iter_append_basic(&arguments, DBUS_TYPE_SIGNATURE, &signature);
            break;
        }
        }
    }
}
} // namespace

TCMessagePtr TakeMessage(TCInput& input, const TSNames& names)
{
    const std::string_view rest = input.Rest();
    if (rest.starts_with(DBUS_LITTLE_ENDIAN) || rest.starts_with(DBUS_BIG_ENDIAN))
    {
        return TakeWireMessage(input);
    }
    constexpr int TYPES[] = {DBUS_MESSAGE_TYPE_METHOD_CALL, DBUS_MESSAGE_TYPE_METHOD_RETURN, DBUS_MESSAGE_TYPE_ERROR,
                             DBUS_MESSAGE_TYPE_SIGNAL};
    const unsigned flags = input.Byte();
    const int type = TYPES[flags & 3];
    TCMessagePtr owner(dbus_message_new(type));
    DBusMessage* const message = owner.get();
    dbus_message_set_no_reply(message, (flags & 4) != 0);
    dbus_message_set_serial(message, input.Byte() + 1U);
    dbus_message_set_sender(message, (":1." + std::to_string(input.Byte())).c_str());
    if (type == DBUS_MESSAGE_TYPE_METHOD_CALL || type == DBUS_MESSAGE_TYPE_SIGNAL)
    {
        dbus_message_set_path(message, TakeName(input, names.paths, dbus_validate_path).c_str());
        dbus_message_set_member(message, TakeName(input, names.members, dbus_validate_member).c_str());
        const std::string interface = TakeName(input, names.interfaces, dbus_validate_interface);
        if (type == DBUS_MESSAGE_TYPE_SIGNAL || (flags & 8) == 0)
        {
            dbus_message_set_interface(message, interface.c_str());
        }
        else
        {
            dbus_message_set_destination(message, interface.c_str());
        }
    }
    else
    {
        dbus_message_set_reply_serial(message, input.Byte() + 1U);
        dbus_message_set_destination(message, (":1." + std::to_string(input.Byte())).c_str());
    }
    if (type == DBUS_MESSAGE_TYPE_ERROR)
    {
        static const std::string ERRORS[] = {DBUS_ERROR_NO_REPLY, DBUS_ERROR_LIMITS_EXCEEDED, DBUS_ERROR_FAILED};
        dbus_message_set_error_name(message, TakeName(input, ERRORS, dbus_validate_error_name).c_str());
    }
    DBusMessageIter arguments;
    dbus_message_iter_init_append(message, &arguments);
    unsigned left = MAXIMUM_ARGUMENTS;
    TakeArguments(input, arguments, 0, left);
    return owner;
}

std::optional<std::string_view> BytesAt(DBusMessageIter& argument)
{
    char* const signature = dbus_message_iter_get_signature(&argument);
    const bool isBytes = std::string_view(signature) == "ay";
    dbus_free(signature);
    if (!isBytes)
    {
        return std::nullopt;
    }
    DBusMessageIter array;
    dbus_message_iter_recurse(&argument, &array);
    const char* first = nullptr;
    int count = 0;
    dbus_message_iter_get_fixed_array(&array, &first, &count);
    return std::string_view(first, static_cast<std::size_t>(count));
}
} // namespace CIM::fuzz
