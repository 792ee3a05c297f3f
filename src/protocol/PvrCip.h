#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINames.h>
#include <ciapi/IPvrCip.h>

// What crosses the bus for IPvrCip: one line an operation, in slot order.
// A pipeline handle is one value of eight bytes here.

namespace CIM::protocol
{
namespace pvrCip
{
// clang-format off
inline constexpr auto SetRecordingEsPids = Operation(&IPvrCip::SetRecordingEsPids, 0, "SetRecordingEsPids", In("handle"), In("pids"), OneWay());
inline constexpr auto IsFileExceededRetentionLimit = Operation(&IPvrCip::IsFileExceededRetentionLimit, 1, "IsFileExceededRetentionLimit", In("file"), Out("exceeded"));
inline constexpr auto GetCIThumbType = Operation(&IPvrCip::GetCIThumbType, 2, "GetCIThumbType", In("file"), Out("thumbType"));
inline constexpr auto GetContentInfo = Operation(&IPvrCip::GetContentInfo, 3, "GetContentInfo", In("file"), Out("infoType"), Out("value"));
inline constexpr auto GetExpiredContentSections = Operation(&IPvrCip::GetExpiredContentSections, 4, "GetExpiredContentSections", In("file"), Out("sections"));
inline constexpr auto IsBlockedByParentalControl = Operation(&IPvrCip::IsBlockedByParentalControl, 5, "IsBlockedByParentalControl", In("file"), Out("blocked"));
inline constexpr auto CheckThumbnailValidation = Operation(&IPvrCip::CheckThumbnailValidation, 6, "CheckThumbnailValidation", In("file"), In("time"), Out("valid"));
inline constexpr auto IsThisStreamCopyProtected = Operation(&IPvrCip::IsThisStreamCopyProtected, 7, "IsThisStreamCopyProtected", In("handle"), Out("isProtected"));
inline constexpr auto IsSkippingForwardAllowed = Operation(&IPvrCip::IsSkippingForwardAllowed, 8, "IsSkippingForwardAllowed", In("position"), InOut("allowed"));
inline constexpr auto IsSkippingBackwardsAllowed = Operation(&IPvrCip::IsSkippingBackwardsAllowed, 9, "IsSkippingBackwardsAllowed", In("position"), InOut("allowed"));
inline constexpr auto IsFastForwardAllowed = Operation(&IPvrCip::IsFastForwardAllowed, 10, "IsFastForwardAllowed", In("position"), InOut("allowed"), InOut("restriction"));
inline constexpr auto IsFastRewindAllowed = Operation(&IPvrCip::IsFastRewindAllowed, 11, "IsFastRewindAllowed", In("position"), InOut("allowed"), InOut("restriction"));
// clang-format on

inline constexpr auto OPERATIONS = std::tuple(
    SetRecordingEsPids, IsFileExceededRetentionLimit, GetCIThumbType, GetContentInfo, GetExpiredContentSections,
    IsBlockedByParentalControl, CheckThumbnailValidation, IsThisStreamCopyProtected, IsSkippingForwardAllowed,
    IsSkippingBackwardsAllowed, IsFastForwardAllowed, IsFastRewindAllowed);
} // namespace pvrCip

template <>
struct TTable<IPvrCip>
{
    static constexpr const char* NAME = "IPvrCip";
    static const std::string& ConnectionName() { return CI_PVR_CIP_CONNECTION_NAME; }
    static constexpr const auto& OPERATIONS = pvrCip::OPERATIONS;
};
} // namespace CIM::protocol
