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

    TSCICAMPlayerHandle VerifyLocation(TSIPServiceLocationData const& location) override;
    TSCICAMPlayerHandle PlayRequest(TSIPServiceLocationData const& location) override;
    bool SetPlayerSpeed(TSCICAMPlayerHandle const& handle, TSPlaybackSpeed const& speed) override;
    bool SetPlayerPosition(TSCICAMPlayerHandle const& handle, TSPlaybackPosition const& position) override;
    bool StopPlayer(TSCICAMPlayerHandle const& handle) override;
    bool MonitorPlayerInfo(TSCICAMPlayerHandle const& handle, unsigned int value) override;
};
} // namespace CIM
