#pragma once

#include <ciapi/ICICAMPlayer.h>

namespace CIM
{
/// What ICICAMPlayer answers on a set without CI, and what its proxy answers when the daemon does not: no, at once,
/// without touching outputs, except where the interface says otherwise. Every handle that it gives is invalid.
/// Stateless; thread-safe.
class TCCICAMPlayerProxyNO_CI : public ICICAMPlayer
{
public:
    TCCICAMPlayerProxyNO_CI();
    ~TCCICAMPlayerProxyNO_CI() override;

    TSCICAMPlayerHandle VerifyLocation(TSIPServiceLocationData const&) override { return {}; }
    TSCICAMPlayerHandle PlayRequest(TSIPServiceLocationData const&) override { return {}; }
    bool SetPlayerSpeed(TSCICAMPlayerHandle const&, TSPlaybackSpeed const&) override { return false; }
    bool SetPlayerPosition(TSCICAMPlayerHandle const&, TSPlaybackPosition const&) override { return false; }
    bool StopPlayer(TSCICAMPlayerHandle const&) override { return false; }
    bool MonitorPlayerInfo(TSCICAMPlayerHandle const&, unsigned int) override { return false; }
};
} // namespace CIM
