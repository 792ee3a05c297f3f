#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINames.h>
#include <ciapi/ICICAMPlayer.h>

// What crosses the bus for ICICAMPlayer: one line an operation, in slot order.
// VerifyLocation and PlayRequest have no result slot: the player handle is their first output. StopPlayer does not say
// which player.

namespace CIM::protocol
{
namespace cicamPlayer
{
// clang-format off
inline constexpr auto VerifyLocation = Operation(&ICICAMPlayer::VerifyLocation, 0, "VerifyLocation", In("location"));
inline constexpr auto PlayRequest = Operation(&ICICAMPlayer::PlayRequest, 1, "PlayRequest", In("location"));
inline constexpr auto SetPlayerSpeed = Operation(&ICICAMPlayer::SetPlayerSpeed, 2, "SetPlayerSpeed", In("handle"), In("speed"));
inline constexpr auto SetPlayerPosition = Operation(&ICICAMPlayer::SetPlayerPosition, 3, "SetPlayerPosition", In("handle"), In("position"));
inline constexpr auto StopPlayer = Operation(&ICICAMPlayer::StopPlayer, 4, "StopPlayer", NotSent("handle"));
inline constexpr auto MonitorPlayerInfo = Operation(&ICICAMPlayer::MonitorPlayerInfo, 5, "MonitorPlayerInfo", In("handle"), In("value"));
// clang-format on

inline constexpr auto OPERATIONS =
    std::tuple(VerifyLocation, PlayRequest, SetPlayerSpeed, SetPlayerPosition, StopPlayer, MonitorPlayerInfo);
} // namespace cicamPlayer

template <>
struct TTable<ICICAMPlayer>
{
    static constexpr const char* NAME = "ICICAMPlayer";
    static const std::string& ConnectionName() { return CI_CICAM_PLAYER_CONNECTION_NAME; }
    static constexpr const auto& OPERATIONS = cicamPlayer::OPERATIONS;
};
} // namespace CIM::protocol
