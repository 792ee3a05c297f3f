#pragma once

#include "no_ci/CICAMPlayerProxyNO_CI.h"
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

    TSCICAMPlayerHandle VerifyLocation(TSIPServiceLocationData const& location) override;
    TSCICAMPlayerHandle PlayRequest(TSIPServiceLocationData const& location) override;
    bool SetPlayerSpeed(TSCICAMPlayerHandle const& handle, TSPlaybackSpeed const& speed) override;
    bool SetPlayerPosition(TSCICAMPlayerHandle const& handle, TSPlaybackPosition const& position) override;
    bool StopPlayer(TSCICAMPlayerHandle const& handle) override;
    bool MonitorPlayerInfo(TSCICAMPlayerHandle const& handle, unsigned int value) override;

private:
    TCProxyCall m_call;
};
} // namespace CIM
