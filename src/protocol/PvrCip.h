#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINameLiterals.h>
#include <ciapi/IPvrCip.h>

// What crosses the bus for IPvrCip: one line an operation, in slot order.
// A pipeline handle is one value of eight bytes here.

namespace CIM::protocol
{
template <>
struct TTable<IPvrCip>
{
    static constexpr const char* ConnectionName() { return literals::CI_PVR_CIP_CONNECTION_NAME; }

    // clang-format off
    static constexpr std::tuple ROWS{
    Row<&IPvrCip::SetRecordingEsPids>(0, In("handle", "pids"), OneWay()),
    Row<&IPvrCip::IsFileExceededRetentionLimit>(1, In("file"), Out("exceeded")),
    Row<&IPvrCip::GetCIThumbType>(2, In("file"), Out("thumbType")),
    Row<&IPvrCip::GetContentInfo>(3, In("file"), Out("infoType", "value")),
    Row<&IPvrCip::GetExpiredContentSections>(4, In("file"), Out("sections")),
    Row<&IPvrCip::IsBlockedByParentalControl>(5, In("file"), Out("blocked")),
    Row<&IPvrCip::CheckThumbnailValidation>(6, In("file", "time"), Out("valid")),
    Row<&IPvrCip::IsThisStreamCopyProtected>(7, In("handle"), Out("isProtected")),
    Row<&IPvrCip::IsSkippingForwardAllowed>(8, In("position"), InOut("allowed")),
    Row<&IPvrCip::IsSkippingBackwardsAllowed>(9, In("position"), InOut("allowed")),
    Row<&IPvrCip::IsFastForwardAllowed>(10, In("position"), InOut("allowed", "restriction")),
    Row<&IPvrCip::IsFastRewindAllowed>(11, In("position"), InOut("allowed", "restriction")),
    };
    // clang-format on
};
} // namespace CIM::protocol
