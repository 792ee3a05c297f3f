#pragma once

#include "simulator/world/World.h"

#include <ciapi/ICICAMPlayer.h>

#include "json/Draft.h"

namespace CIM::sim
{
/// The CICAM player: one playback at a time. What the interface leaves to the daemon is decided so:
/// - Positions are milliseconds; an absolute one outside the content is refused, a relative one stops at its ends.
///   Jumping to live (relative, -1) is refused unless the content is live.
/// - MonitorPlayerInfo: the number is how often, in milliseconds, the position is announced, at least 100; 0 ends it.
///   At once, duration, position and speed are announced; then the speed whenever it changes.
/// - A location that no CAM knows or allows gets a handle, and then an error.
/// Signals carry the handle as id. Duration and position are whole seconds, 0xFFFFFFFF unknown; the speed is hundredths
/// of the nominal speed as 16 bits.
class TCPlayer final : public ICICAMPlayer
{
public:
    explicit TCPlayer(TSWorld& world) : m_world(world) {}

    TSCICAMPlayerHandle VerifyLocation(TSIPServiceLocationData const& location) override;
    TSCICAMPlayerHandle PlayRequest(TSIPServiceLocationData const& location) override;
    bool SetPlayerSpeed(TSCICAMPlayerHandle const& handle, TSPlaybackSpeed const& speed) override;
    bool SetPlayerPosition(TSCICAMPlayerHandle const& handle, TSPlaybackPosition const& position) override;
    bool StopPlayer(TSCICAMPlayerHandle const& handle) override;
    bool MonitorPlayerInfo(TSCICAMPlayerHandle const& handle, unsigned int value) override;

    /// The CAM starts a playback by itself.
    TSOutcome StartFromCam(unsigned slot, const std::string& location);
    /// The playback fails, and ends.
    TSOutcome Fail(int error);

    void OnCamGone(const TSSlot& slot);
    json::TCDraft State() const;

private:
    struct TSPlayback
    {
        unsigned short handle = 0xFFFF;
        unsigned char slot = 0;
        TSContentDefinition content;
        bool isStarted = false;
        TTime startedAt = 0;
        TTime since = 0;           ///< when position and speed below held
        std::int64_t position = 0; ///< in hundredths of a millisecond, so that no speed rounds
        int speed = 0;
        unsigned monitorMs = 0;
        TCClock::TEventId limitEvent = 0;
        TCClock::TEventId monitorEvent = 0;
    };

    unsigned short m_NewHandle();
    const TSSlot* m_SlotFor(const std::string& location, const TSContentDefinition*& content);
    void m_Begin(const TSSlot& slot, const TSContentDefinition& content, unsigned short handle);
    TSPlayback* m_Running(const TSCICAMPlayerHandle& handle);
    std::int64_t m_End() const;
    std::int64_t m_Position() const;
    void m_SetSpeed(int speed);
    void m_PlanLimit();
    void m_OnLimit();
    void m_Monitor();
    void m_Stop();
    void m_Raise(ECISignalType type, const protocol::SGiven& code, std::uint32_t value = 0);

    TSWorld& m_world;
    std::optional<TSPlayback> m_playback;
    unsigned short m_lastHandle = 0xFFFF;
};
} // namespace CIM::sim
