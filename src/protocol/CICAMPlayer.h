#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINameLiterals.h>
#include <ciapi/ICICAMPlayer.h>

// What crosses the bus for ICICAMPlayer: one line an operation, in slot order.
// VerifyLocation and PlayRequest have no result slot: the player handle is their first output. StopPlayer does not say
// which player.

namespace CIM::protocol
{
template <>
struct TTable<ICICAMPlayer>
{
    static constexpr const char* ConnectionName() { return literals::CI_CICAM_PLAYER_CONNECTION_NAME; }

    // clang-format off
    static constexpr std::tuple ROWS{
    Row<&ICICAMPlayer::VerifyLocation>(0, In("location")),
    Row<&ICICAMPlayer::PlayRequest>(1, In("location")),
    Row<&ICICAMPlayer::SetPlayerSpeed>(2, In("handle", "speed")),
    Row<&ICICAMPlayer::SetPlayerPosition>(3, In("handle", "position")),
    Row<&ICICAMPlayer::StopPlayer>(4, NotSent("handle")),
    Row<&ICICAMPlayer::MonitorPlayerInfo>(5, In("handle", "value")),
    };
    // clang-format on
};
} // namespace CIM::protocol
