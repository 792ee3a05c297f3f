#pragma once

#include <ciapi/CICAMPlayerDataType.h>
#include <ciapi/Export.h>

namespace CIM
{
/// The CI Plus CICAM player: the set has a CAM check and play a service that reaches it over IP.
///
/// What holds for every operation:
/// - It is one call to the CI daemon. It blocks the calling thread, and only that, until the daemon answers or the bus
///   gives up (25 seconds unless the bus is configured otherwise).
/// - It is thread-safe. Called from inside a signal callback it delays the signals behind it.
/// - On a set without CI, without daemon or without a timely answer the result is false, or an invalid handle.
/// - Arguments are not checked. The caller keeps everything it passes. Nothing is thrown.
///
/// What becomes of the playback is announced by signals. Obtained from TCCIService::CICAMPlayerInstance() and owned by
/// it. The order of the declarations is binary interface: new operations go to the end.
class CIAPI_EXPORT ICICAMPlayer
{
public:
    virtual ~ICICAMPlayer() = default;

    /// Has the CAM check whether it can play a location. The outcome is announced later, as a signal.
    /// \param[in] location  where the service is
    /// \return the handle of this check; not valid (TSCICAMPlayerHandle::IsValid) without CI or answer
    virtual TSCICAMPlayerHandle VerifyLocation(TSIPServiceLocationData const& location) = 0;

    /// Starts playing a location.
    /// \param[in] location  where the service is
    /// \return the handle of this playback; not valid without CI or answer
    virtual TSCICAMPlayerHandle PlayRequest(TSIPServiceLocationData const& location) = 0;

    /// Changes the speed.
    /// \param[in] handle  the playback
    /// \param[in] speed   in hundredths of nominal speed; 0 pauses
    /// \return whether the daemon accepted it
    virtual bool SetPlayerSpeed(TSCICAMPlayerHandle const& handle, TSPlaybackSpeed const& speed) = 0;

    /// Jumps to a position.
    /// \param[in] handle    the playback
    /// \param[in] position  absolute or relative
    /// \return whether the daemon accepted it
    virtual bool SetPlayerPosition(TSCICAMPlayerHandle const& handle, TSPlaybackPosition const& position) = 0;

    /// Stops the player.
    /// \param[in] handle  not sent: the daemon stops its player, whichever handle is given
    /// \return whether the daemon accepted it
    virtual bool StopPlayer(TSCICAMPlayerHandle const& handle) = 0;

    /// Asks the daemon to watch the player and to announce what it sees by signals.
    /// \param[in] handle  the playback
    /// \param[in] value   what or how often; its meaning is the daemon's
    /// \return whether the daemon accepted it
    virtual bool MonitorPlayerInfo(TSCICAMPlayerHandle const& handle, unsigned int value) = 0;
};
} // namespace CIM
