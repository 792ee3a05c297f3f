#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINames.h>
#include <ciapi/ICISignalSubscriber.h>

// What crosses the bus for ICISignalSubscriber: one line an operation, in slot order.
// The last argument is always the caller's process id. SetCallback concerns the library alone and has no row.

namespace CIM::protocol
{
namespace signalSubscriber
{
// clang-format off
inline constexpr auto Subscribe = Operation(&ICISignalSubscriber::Subscribe, 0, "Subscribe", In("signalType"), NotSent("userData"), In("profile"), In("handle"), In("processId"));
inline constexpr auto Unsubscribe = Operation(&ICISignalSubscriber::Unsubscribe, 1, "Unsubscribe", In("signalType"), In("profile"), In("handle"), In("processId"));
// clang-format on

inline constexpr auto OPERATIONS = std::tuple(Subscribe, Unsubscribe);
} // namespace signalSubscriber

template <>
struct TTable<ICISignalSubscriber>
{
    static constexpr const char* NAME = "ICISignalSubscriber";
    static const std::string& ConnectionName() { return CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME; }
    static constexpr const auto& OPERATIONS = signalSubscriber::OPERATIONS;
};
} // namespace CIM::protocol
