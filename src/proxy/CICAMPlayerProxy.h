#pragma once

#include "no_ci/CICAMPlayerProxyNO_CI.h"
#include "protocol/CICAMPlayer.h"
#include "proxy/ProxyCall.h"

namespace CIM
{
/// ICICAMPlayer over the bus: each operation is one call to the daemon, and the null answer when that fails.
/// Thread-safe: it keeps nothing between calls.
class TCCICAMPlayerProxy : public TCCICAMPlayerProxyNO_CI
{
public:
    /// Blocks until the daemon offers the interface, at the longest as long as the connection waits.
    explicit TCCICAMPlayerProxy(boost::shared_ptr<TIIPCHelper> helper);
    ~TCCICAMPlayerProxy() override;

    TSCICAMPlayerHandle VerifyLocation(TSIPServiceLocationData const& location) override
    {
        return m_call.Do<&ICICAMPlayer::VerifyLocation>(location).Or([] { return TSCICAMPlayerHandle(); });
    }
    TSCICAMPlayerHandle PlayRequest(TSIPServiceLocationData const& location) override
    {
        return m_call.Do<&ICICAMPlayer::PlayRequest>(location).Or([] { return TSCICAMPlayerHandle(); });
    }
    bool SetPlayerSpeed(TSCICAMPlayerHandle const& handle, TSPlaybackSpeed const& speed) override
    {
        return m_call.Do<&ICICAMPlayer::SetPlayerSpeed>(handle, speed).Or([] { return false; });
    }
    bool SetPlayerPosition(TSCICAMPlayerHandle const& handle, TSPlaybackPosition const& position) override
    {
        return m_call.Do<&ICICAMPlayer::SetPlayerPosition>(handle, position).Or([] { return false; });
    }
    bool StopPlayer(TSCICAMPlayerHandle const& handle) override
    {
        return m_call.Do<&ICICAMPlayer::StopPlayer>(handle).Or([] { return false; });
    }
    bool MonitorPlayerInfo(TSCICAMPlayerHandle const& handle, unsigned int value) override
    {
        return m_call.Do<&ICICAMPlayer::MonitorPlayerInfo>(handle, value).Or([] { return false; });
    }

private:
    TCProxyCall m_call;
};
} // namespace CIM
