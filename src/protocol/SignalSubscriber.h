#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINameLiterals.h>
#include <ciapi/ICISignalSubscriber.h>

// What crosses the bus for ICISignalSubscriber: one line an operation, in slot order.
// The last argument is always the caller's process id. SetCallback concerns the library alone and has no row.

namespace CIM::protocol
{
template <>
struct TTable<ICISignalSubscriber>
{
    using I = ICISignalSubscriber;

    static constexpr const char* ConnectionName() { return literals::CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME; }

    // clang-format off
    static constexpr std::tuple ROWS{
    Row<&I::Subscribe>(0, In("signalType"), NotSent("userData"), In("profile", "handle", "processId")),
    Row<&I::Unsubscribe>(1, In("signalType", "profile", "handle", "processId")),
    };
    // clang-format on
};
} // namespace CIM::protocol
