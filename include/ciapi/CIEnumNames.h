#pragma once

#include <ciapi/Export.h>

#include <optional>
#include <string>
#include <string_view>

namespace CIM
{
/// One enumerator: its value and its name.
template <class E>
struct TSEnumName
{
    E value;               ///< its number
    std::string_view name; ///< as it is written in C++
};

/// The table of an enumeration, specialised for every enumeration of the library and of the platform:
///   static constexpr std::string_view type;           the enumeration's own name
///   static constexpr TSEnumName<E> entries[];         its enumerators, in ascending order of value
/// Log texts, JSON forms, parsers and completion all come from it.
template <class E>
struct TSEnumNames;

/// The name of a value; empty when the value has none. A value without a name is legal: it may come from the daemon.
/// Reentrant.
template <class E>
constexpr std::string_view EnumName(E value)
{
    for (const TSEnumName<E>& entry : TSEnumNames<E>::entries)
    {
        if (entry.value == value)
        {
            return entry.name;
        }
    }
    return {};
}

/// The value of a name, compared exactly; nothing when no enumerator has that name. Reentrant.
template <class E>
constexpr std::optional<E> EnumValue(std::string_view name)
{
    for (const TSEnumName<E>& entry : TSEnumNames<E>::entries)
    {
        if (entry.name == name)
        {
            return entry.value;
        }
    }
    return std::nullopt;
}
} // namespace CIM

#define CIAPI_ENUMERATOR(number, name) name = number,
#define CIAPI_ENUM_NAME(number, name) {name, #name},

/// Makes an enumeration of 32 bits, its table of names and the declaration of its text from one list
/// CIAPI_VALUES_<enumeration>(X), which calls X(value, name) for each enumerator. To be used in namespace CIM.
#define CIAPI_ENUMERATION(E)                                                                                           \
    enum E : int                                                                                                       \
    {                                                                                                                  \
        CIAPI_VALUES_##E(CIAPI_ENUMERATOR)                                                                             \
    };                                                                                                                 \
    template <>                                                                                                        \
    struct TSEnumNames<E>                                                                                              \
    {                                                                                                                  \
        static constexpr std::string_view type = #E;                                                                   \
        static constexpr TSEnumName<E> entries[] = {CIAPI_VALUES_##E(CIAPI_ENUM_NAME)};                                \
    };                                                                                                                 \
    CIAPI_EXPORT std::string ToString(const E& value);
