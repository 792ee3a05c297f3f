#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINameLiterals.h>
#include <ciapi/ICIAppMMI.h>

// What crosses the bus for ICIAppMMI: one line an operation, in slot order.
// A pipeline handle is two values here, its profile and its number.

namespace CIM::protocol
{
template <>
struct TTable<ICIAppMMI>
{
    using I = ICIAppMMI;

    static constexpr const char* ConnectionName() { return literals::CI_APP_MMI_CONNECTION_NAME; }

    // clang-format off
    static constexpr std::tuple ROWS{
    Row<&I::SetApplicationState>(0, InMembers("handle"), In("application", "state", "value")),
    Row<&I::SendAppAbortRequest>(1, In("id", "data")),
    Row<&I::SendAppAbortAck>(2, In("id", "data")),
    Row<&I::SendFileRequest>(3, In("id", "data", "value")),
    Row<&I::SendRequestStartAck>(4, In("id", "ackCode")),
    Row<&I::GetAbortAckData>(5, In("dataId"), Out("data")),
    Row<&I::GetAbortRequestData>(6, In("dataId"), Out("data")),
    Row<&I::GetFileAckData>(7, In("dataId"), Out("firstFlag", "secondFlag", "value", "firstData", "secondData")),
    Row<&I::GetStartAppData>(8, In("id", "dataId"), Out("firstData", "secondData"), OutMembers("handle"), Out("flag")),
    };
    // clang-format on
};
} // namespace CIM::protocol
