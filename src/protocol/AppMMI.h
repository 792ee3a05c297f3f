#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINames.h>
#include <ciapi/ICIAppMMI.h>

// What crosses the bus for ICIAppMMI: one line an operation, in slot order.
// A pipeline handle is two values here, its profile and its number.

namespace CIM::protocol
{
namespace appMmi
{
// clang-format off
inline constexpr auto SetApplicationState = Operation(&ICIAppMMI::SetApplicationState, 0, "SetApplicationState", InMembers("handle"), In("application"), In("state"), In("value"));
inline constexpr auto SendAppAbortRequest = Operation(&ICIAppMMI::SendAppAbortRequest, 1, "SendAppAbortRequest", In("id"), In("data"));
inline constexpr auto SendAppAbortAck = Operation(&ICIAppMMI::SendAppAbortAck, 2, "SendAppAbortAck", In("id"), In("data"));
inline constexpr auto SendFileRequest = Operation(&ICIAppMMI::SendFileRequest, 3, "SendFileRequest", In("id"), In("data"), In("value"));
inline constexpr auto SendRequestStartAck = Operation(&ICIAppMMI::SendRequestStartAck, 4, "SendRequestStartAck", In("id"), In("ackCode"));
inline constexpr auto GetAbortAckData = Operation(&ICIAppMMI::GetAbortAckData, 5, "GetAbortAckData", In("dataId"), Out("data"));
inline constexpr auto GetAbortRequestData = Operation(&ICIAppMMI::GetAbortRequestData, 6, "GetAbortRequestData", In("dataId"), Out("data"));
inline constexpr auto GetFileAckData = Operation(&ICIAppMMI::GetFileAckData, 7, "GetFileAckData", In("dataId"), Out("firstFlag"), Out("secondFlag"), Out("value"), Out("firstData"), Out("secondData"));
inline constexpr auto GetStartAppData = Operation(&ICIAppMMI::GetStartAppData, 8, "GetStartAppData", In("id"), In("dataId"), Out("firstData"), Out("secondData"), OutMembers("handle"), Out("flag"));
// clang-format on

inline constexpr auto OPERATIONS =
    std::tuple(SetApplicationState, SendAppAbortRequest, SendAppAbortAck, SendFileRequest, SendRequestStartAck,
               GetAbortAckData, GetAbortRequestData, GetFileAckData, GetStartAppData);
} // namespace appMmi

template <>
struct TTable<ICIAppMMI>
{
    static constexpr const char* NAME = "ICIAppMMI";
    static const std::string& ConnectionName() { return CI_APP_MMI_CONNECTION_NAME; }
    static constexpr const auto& OPERATIONS = appMmi::OPERATIONS;
};
} // namespace CIM::protocol
