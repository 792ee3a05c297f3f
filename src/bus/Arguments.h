#pragma once

#include "protocol/Envelope.h"
#include "protocol/Name.h"

#include <dbus/dbus.h>

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>

// Reads and writes the arguments of a message by the rows of its envelope. The bytes may be anybody's.

namespace CIM
{
class TCCIMIPCUtility
{
public:
    /// \param advanceFirst  move to the next argument before looking
    /// \return whether there is an argument at the iterator and it has the D-Bus type
    static bool m_CheckArgumentType(DBusMessageIter& iter, int type, bool advanceFirst)
    {
        if (advanceFirst && !dbus_message_iter_next(&iter))
        {
            return false;
        }
        return dbus_message_iter_get_arg_type(&iter) == type;
    }

    /// Takes the bytes of the argument at the iterator. The bytes belong to the message.
    /// \return false when it is not an array of bytes
    static bool m_ReadBytes(DBusMessageIter& iter, protocol::SBytes& bytes)
    {
        if (dbus_message_iter_get_arg_type(&iter) != DBUS_TYPE_ARRAY ||
            dbus_message_iter_get_element_type(&iter) != DBUS_TYPE_BYTE)
        {
            return false;
        }
        DBusMessageIter array;
        dbus_message_iter_recurse(&iter, &array);
        dbus_message_iter_get_fixed_array(&array, &bytes.data, &bytes.length);
        return true;
    }
};

/// The D-Bus type of a field.
template <class T>
constexpr int DBusTypeOf()
{
    if constexpr (std::is_same_v<T, std::uint8_t>)
    {
        return DBUS_TYPE_BYTE;
    }
    else if constexpr (std::is_same_v<T, std::int32_t>)
    {
        return DBUS_TYPE_INT32;
    }
    else if constexpr (std::is_same_v<T, const char*>)
    {
        return DBUS_TYPE_STRING;
    }
    else
    {
        static_assert(std::is_same_v<T, protocol::SBytes>, "this type is no argument of an envelope");
        return DBUS_TYPE_ARRAY;
    }
}

/// What came of reading an envelope.
template <class Envelope>
struct TArgumentsRead
{
    bool isEmpty = false; ///< the message has no arguments at all
    bool hasMore = false; ///< there are arguments behind the last one
    unsigned wrong = 0;   ///< a bit an argument, in order: missing, or of another type; its field keeps its value

    /// Whether an argument was missing or of another type.
    template <auto Field>
    bool IsWrong() const
    {
        return (wrong & 1U << m_PlaceOf<Field>()) != 0;
    }
    bool IsWhole() const { return !isEmpty && wrong == 0; }

private:
    template <auto Field>
    static constexpr std::size_t m_PlaceOf()
    {
        return []<class... Rows>(const std::tuple<Rows...>&)
        {
            constexpr bool isIt[] = {std::is_same_v<protocol::TKey<Field>, protocol::TKey<Rows::FIELD>>...};
            std::size_t place = 0;
            while (!isIt[place])
            {
                ++place;
            }
            return place;
        }(protocol::TEnvelopeArguments<Envelope>::ROWS);
    }
};

/// Reads the arguments of a message. Texts and bytes belong to the message.
/// \param[in,out] envelope  fields that decide what there is must be set before
template <class Envelope>
TArgumentsRead<Envelope> ReadArguments(DBusMessage* message, Envelope& envelope)
{
    TArgumentsRead<Envelope> read;
    DBusMessageIter iter;
    bool isThere = dbus_message_iter_init(message, &iter);
    read.isEmpty = !isThere;
    unsigned bit = 1;
    const auto take = [&]<class Row>(const Row&)
    {
        using TField = std::remove_reference_t<decltype(envelope.*Row::FIELD)>;
        const bool isWanted = Row::PRESENCE == protocol::EPresence::UNLESS_EMPTY ? isThere : Row::IsIn(envelope);
        if (isWanted)
        {
            bool isRight = isThere && TCCIMIPCUtility::m_CheckArgumentType(iter, DBusTypeOf<TField>(), false);
            if constexpr (std::is_same_v<TField, protocol::SBytes>)
            {
                isRight = isRight && TCCIMIPCUtility::m_ReadBytes(iter, envelope.*Row::FIELD);
            }
            else if (isRight)
            {
                dbus_message_iter_get_basic(&iter, &(envelope.*Row::FIELD));
            }
            read.wrong |= isRight ? 0 : bit;
            isThere = isThere && dbus_message_iter_next(&iter);
        }
        bit <<= 1;
    };
    std::apply([&](const auto&... row) { (take(row), ...); }, protocol::TEnvelopeArguments<Envelope>::ROWS);
    read.hasMore = isThere;
    return read;
}

/// Appends the arguments to a message that has none. Texts must be UTF-8. \return false: no memory
template <class Envelope>
bool AppendArguments(DBusMessage* message, const Envelope& envelope)
{
    DBusMessageIter iter;
    dbus_message_iter_init_append(message, &iter);
    const auto append = [&]<class Row>(const Row&) -> bool
    {
        if (!Row::IsIn(envelope))
        {
            return true;
        }
        const auto& field = envelope.*Row::FIELD;
        using TField = std::remove_cvref_t<decltype(field)>;
        if constexpr (std::is_same_v<TField, protocol::SBytes>)
        {
            DBusMessageIter array;
            if (!dbus_message_iter_open_container(&iter, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE_AS_STRING, &array))
            {
                return false;
            }
            if (field.length > 0 &&
                !dbus_message_iter_append_fixed_array(&array, DBUS_TYPE_BYTE, &field.data, field.length))
            {
                dbus_message_iter_abandon_container(&iter, &array);
                return false;
            }
            return dbus_message_iter_close_container(&iter, &array);
        }
        else
        {
            return dbus_message_iter_append_basic(&iter, DBusTypeOf<TField>(), &field);
        }
    };
    return std::apply([&](const auto&... row) { return (append(row) && ...); },
                      protocol::TEnvelopeArguments<Envelope>::ROWS);
}
} // namespace CIM
