#include "no_ci/CICAMPlayerProxyNO_CI.h"

#include "utils/CIAPILog.h"

namespace CIM
{
TCCICAMPlayerProxyNO_CI::TCCICAMPlayerProxyNO_CI() { CIM_LOG_INFO_AT("TCCICAMPlayerProxyNO_CI", 34, ""); }

TCCICAMPlayerProxyNO_CI::~TCCICAMPlayerProxyNO_CI() { CIM_LOG_INFO_AT("~TCCICAMPlayerProxyNO_CI", 41, ""); }

TSCICAMPlayerHandle TCCICAMPlayerProxyNO_CI::VerifyLocation(TSIPServiceLocationData const&) { return {}; }

TSCICAMPlayerHandle TCCICAMPlayerProxyNO_CI::PlayRequest(TSIPServiceLocationData const&) { return {}; }

bool TCCICAMPlayerProxyNO_CI::SetPlayerSpeed(TSCICAMPlayerHandle const&, TSPlaybackSpeed const&) { return false; }

bool TCCICAMPlayerProxyNO_CI::SetPlayerPosition(TSCICAMPlayerHandle const&, TSPlaybackPosition const&) { return false; }

bool TCCICAMPlayerProxyNO_CI::StopPlayer(TSCICAMPlayerHandle const&) { return false; }

bool TCCICAMPlayerProxyNO_CI::MonitorPlayerInfo(TSCICAMPlayerHandle const&, unsigned int) { return false; }
} // namespace CIM
