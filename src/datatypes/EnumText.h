#pragma once

#include "utils/CIAPILog.h"

#include <ciapi/CIEnumNames.h>

// The texts of enumerations, by what happens to a value without a name. Macros, so that a log line names the source
// file that defines the text.

/// Logs the value and gives an empty text.
#define CIM_DEFINE_LOGGING_TEXT(E, label)                                                                              \
    std::string ToString(const E& value)                                                                               \
    {                                                                                                                  \
        const std::string_view name = EnumName(value);                                                                 \
        if (name.empty())                                                                                              \
        {                                                                                                              \
            CIM_LOG_INFO(label "Out of scope(%d)", static_cast<int>(value));                                           \
        }                                                                                                              \
        return std::string(name);                                                                                      \
    }

/// Says so in the text, and logs nothing.
#define CIM_DEFINE_LABELLED_TEXT(E)                                                                                    \
    std::string ToString(const E& value)                                                                               \
    {                                                                                                                  \
        const std::string_view name = EnumName(value);                                                                 \
        return name.empty() ? #E " Out of scope : " + std::to_string(static_cast<int>(value)) : std::string(name);     \
    }

/// The name and the number, and logs nothing.
#define CIM_DEFINE_NUMBERED_TEXT(E)                                                                                    \
    std::string ToString(const E& value)                                                                               \
    {                                                                                                                  \
        return NameOrNotSupported(value) + "(" + std::to_string(static_cast<int>(value)) + ")";                        \
    }

namespace CIM
{
template <class E>
std::string NameOrNotSupported(E value)
{
    const std::string_view name = EnumName(value);
    return std::string(name.empty() ? "NOT_SUPPORTED" : name);
}
} // namespace CIM
