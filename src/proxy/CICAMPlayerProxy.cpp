#include "proxy/CICAMPlayerProxy.h"

#include "protocol/CICAMPlayer.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCCICAMPlayerProxy::TCCICAMPlayerProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<ICICAMPlayer>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCCICAMPlayerProxy", 50, "");
    m_call.WaitForInterface();
}

TCCICAMPlayerProxy::~TCCICAMPlayerProxy() { CIM_LOG_INFO_AT("~TCCICAMPlayerProxy", 58, ""); }

TSCICAMPlayerHandle TCCICAMPlayerProxy::VerifyLocation(TSIPServiceLocationData const& location)
{
    return m_call(protocol::cicamPlayer::VerifyLocation, location).value_or(TSCICAMPlayerHandle());
}

TSCICAMPlayerHandle TCCICAMPlayerProxy::PlayRequest(TSIPServiceLocationData const& location)
{
    return m_call(protocol::cicamPlayer::PlayRequest, location).value_or(TSCICAMPlayerHandle());
}

bool TCCICAMPlayerProxy::SetPlayerSpeed(TSCICAMPlayerHandle const& handle, TSPlaybackSpeed const& speed)
{
    return m_call(protocol::cicamPlayer::SetPlayerSpeed, handle, speed).value_or(false);
}

bool TCCICAMPlayerProxy::SetPlayerPosition(TSCICAMPlayerHandle const& handle, TSPlaybackPosition const& position)
{
    return m_call(protocol::cicamPlayer::SetPlayerPosition, handle, position).value_or(false);
}

bool TCCICAMPlayerProxy::StopPlayer(TSCICAMPlayerHandle const& handle)
{
    return m_call(protocol::cicamPlayer::StopPlayer, handle).value_or(false);
}

bool TCCICAMPlayerProxy::MonitorPlayerInfo(TSCICAMPlayerHandle const& handle, unsigned int value)
{
    return m_call(protocol::cicamPlayer::MonitorPlayerInfo, handle, value).value_or(false);
}
} // namespace CIM
