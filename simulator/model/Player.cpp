#include "Player.h"

#include <algorithm>
#include <limits>

namespace CIM::sim
{
namespace
{
constexpr TTime VERIFY_MS = 100;
constexpr unsigned MIN_MONITOR_MS = 100;
constexpr std::int64_t UNITS_PER_MS = 100;
constexpr std::uint32_t UNKNOWN = 0xFFFFFFFF;
constexpr int NOMINAL = 100;
} // namespace

unsigned short TCPlayer::m_NewHandle()
{
    ++m_lastHandle;
    if (m_lastHandle == 0xFFFF)
    {
        m_lastHandle = 0;
    }
    return m_lastHandle;
}

const TSSlot* TCPlayer::m_SlotFor(const std::string& location, const TSContentDefinition*& content)
{
    for (const TSSlot& slot : m_world.slots)
    {
        for (const TSContentDefinition& candidate : slot.cam.contents)
        {
            if (slot.IsReady() && candidate.location == location)
            {
                content = &candidate;
                return &slot;
            }
        }
    }
    return m_world.FirstReady();
}

TSCICAMPlayerHandle TCPlayer::VerifyLocation(TSIPServiceLocationData const& location)
{
    const TSContentDefinition* content = nullptr;
    const TSSlot* const slot = m_SlotFor(location.location, content);
    if (!slot)
    {
        return {};
    }
    const unsigned short handle = m_NewHandle();
    const bool isPossible = content && content->isAllowed;
    m_world.After(*slot, VERIFY_MS,
                  [this, slot, handle, isPossible]
                  {
                      m_world.Raise(SlotSignal(SIGNAL_CI_CICAM_PLAYER_CONTENT_VERIFIED, slot->number,
                                               isPossible ? CONTENT_PLAYABLE : CONTENT_NOT_PLAYABLE, handle));
                  });
    return TSCICAMPlayerHandle(handle);
}

TSCICAMPlayerHandle TCPlayer::PlayRequest(TSIPServiceLocationData const& location)
{
    const TSContentDefinition* content = nullptr;
    const TSSlot* const slot = m_SlotFor(location.location, content);
    if (!slot || m_playback)
    {
        return {};
    }
    const unsigned short handle = m_NewHandle();
    if (content && content->isAllowed)
    {
        m_Begin(*slot, *content, handle);
        return TSCICAMPlayerHandle(handle);
    }
    const EPlayerError error = content ? PLAYER_ERROR_CONTENT_REFUSED : PLAYER_ERROR_CONTENT_UNKNOWN;
    m_world.After(*slot, VERIFY_MS,
                  [this, slot, handle, error]
                  { m_world.Raise(SlotSignal(SIGNAL_CI_CICAM_PLAYER_ERROR, slot->number, error, handle)); });
    return TSCICAMPlayerHandle(handle);
}

void TCPlayer::m_Begin(const TSSlot& slot, const TSContentDefinition& content, unsigned short handle)
{
    TSPlayback playback;
    playback.handle = handle;
    playback.slot = slot.number;
    playback.content = content;
    m_playback = playback;
    const auto whileSame = [this, handle](auto action)
    {
        return [this, handle, action]
        {
            if (m_playback && m_playback->handle == handle)
            {
                action();
            }
        };
    };
    m_world.After(slot, content.startMs,
                  whileSame(
                      [this]
                      {
                          m_playback->isStarted = true;
                          m_playback->startedAt = m_playback->since = m_world.clock.Now();
                          m_SetSpeed(NOMINAL);
                      }));
    if (content.errorAfterMs >= 0)
    {
        m_world.After(slot, content.startMs + content.errorAfterMs,
                      whileSame([this] { Fail(m_playback->content.error); }));
    }
}

TCPlayer::TSPlayback* TCPlayer::m_Running(const TSCICAMPlayerHandle& handle)
{
    const bool isIt = m_playback && m_playback->isStarted && m_playback->handle == handle.identifier;
    return isIt ? &*m_playback : nullptr;
}

/// Where the content ends: at its duration, at the live edge, or never.
std::int64_t TCPlayer::m_End() const
{
    if (m_playback->content.isLive)
    {
        return (m_world.clock.Now() - m_playback->startedAt) * UNITS_PER_MS;
    }
    if (m_playback->content.durationSeconds < 0)
    {
        return std::numeric_limits<std::int64_t>::max();
    }
    return std::int64_t{m_playback->content.durationSeconds} * 1'000 * UNITS_PER_MS;
}

std::int64_t TCPlayer::m_Position() const
{
    const std::int64_t moved = (m_world.clock.Now() - m_playback->since) * m_playback->speed;
    return std::clamp<std::int64_t>(m_playback->position + moved, 0, m_End());
}

bool TCPlayer::SetPlayerSpeed(TSCICAMPlayerHandle const& handle, TSPlaybackSpeed const& speed)
{
    if (!m_Running(handle))
    {
        return false;
    }
    m_SetSpeed(speed.hundredths);
    return true;
}

void TCPlayer::m_SetSpeed(int speed)
{
    TSPlayback& playback = *m_playback;
    playback.position = m_Position();
    playback.since = m_world.clock.Now();
    playback.speed = speed;
    m_Raise(SIGNAL_CI_CICAM_PLAYER_PLAYBACK_STATUS, speed == 0 ? PLAYER_STATUS_PAUSED : PLAYER_STATUS_PLAYING);
    if (playback.monitorMs > 0)
    {
        m_Raise(SIGNAL_CI_CICAM_PLAYER_INFO_SPEED, 0, static_cast<std::uint16_t>(speed));
    }
    m_PlanLimit();
}

void TCPlayer::m_PlanLimit()
{
    TSPlayback& playback = *m_playback;
    m_world.clock.Cancel(playback.limitEvent);
    std::int64_t distance = 0;
    int approach = 0;
    if (playback.speed < 0)
    {
        distance = playback.position;
        approach = -playback.speed;
    }
    else if (playback.content.isLive)
    {
        // The live edge moves on at the nominal speed.
        distance = m_End() - playback.position;
        approach = playback.speed - NOMINAL;
    }
    else if (playback.content.durationSeconds >= 0)
    {
        distance = m_End() - playback.position;
        approach = playback.speed;
    }
    if (approach > 0)
    {
        playback.limitEvent =
            m_world.After(m_world.slots[playback.slot], (distance + approach - 1) / approach, [this] { m_OnLimit(); });
    }
}

void TCPlayer::m_OnLimit()
{
    TSPlayback& playback = *m_playback;
    if (playback.content.isLive && playback.speed > 0)
    {
        m_SetSpeed(NOMINAL);
        return;
    }
    playback.position = m_Position();
    playback.since = m_world.clock.Now();
    const bool isBegin = playback.speed < 0;
    playback.speed = 0;
    m_Raise(SIGNAL_CI_CICAM_PLAYER_PLAYBACK_STATUS, isBegin ? PLAYER_STATUS_REACHED_BEGIN : PLAYER_STATUS_REACHED_END);
    if (playback.monitorMs > 0)
    {
        m_Raise(SIGNAL_CI_CICAM_PLAYER_INFO_SPEED, 0);
    }
}

bool TCPlayer::SetPlayerPosition(TSCICAMPlayerHandle const& handle, TSPlaybackPosition const& position)
{
    TSPlayback* const playback = m_Running(handle);
    if (!playback)
    {
        return false;
    }
    const std::int64_t end = m_End();
    std::int64_t target = 0;
    if (position.seekMode == TSPlaybackPosition::SEEK_MODE_ABSOLUTE)
    {
        target = position.position * UNITS_PER_MS;
        if (target < 0 || target > end)
        {
            return false;
        }
    }
    else if (position.position == -1)
    {
        if (!playback->content.isLive)
        {
            return false;
        }
        target = end;
    }
    else
    {
        target = std::clamp<std::int64_t>(m_Position() + position.position * UNITS_PER_MS, 0, end);
    }
    playback->position = target;
    playback->since = m_world.clock.Now();
    if (playback->monitorMs > 0)
    {
        m_Raise(SIGNAL_CI_CICAM_PLAYER_INFO_POSITION, 0, static_cast<std::uint32_t>(target / UNITS_PER_MS / 1'000));
    }
    m_PlanLimit();
    return true;
}

bool TCPlayer::StopPlayer(TSCICAMPlayerHandle const&)
{
    if (!m_playback)
    {
        return false;
    }
    m_Stop();
    return true;
}

void TCPlayer::m_Stop()
{
    m_world.clock.Cancel(m_playback->limitEvent);
    m_world.clock.Cancel(m_playback->monitorEvent);
    m_Raise(SIGNAL_CI_CICAM_PLAYER_PLAYBACK_STATUS, PLAYER_STATUS_STOPPED);
    m_playback.reset();
}

bool TCPlayer::MonitorPlayerInfo(TSCICAMPlayerHandle const& handle, unsigned int value)
{
    TSPlayback* const playback = m_Running(handle);
    if (!playback)
    {
        return false;
    }
    m_world.clock.Cancel(playback->monitorEvent);
    playback->monitorMs = value == 0 ? 0 : std::max(value, MIN_MONITOR_MS);
    if (value > 0)
    {
        const bool isKnown = playback->content.durationSeconds >= 0 && !playback->content.isLive;
        m_Raise(SIGNAL_CI_CICAM_PLAYER_INFO_DURATION, 0,
                isKnown ? static_cast<std::uint32_t>(playback->content.durationSeconds) : UNKNOWN);
        m_Monitor();
        m_Raise(SIGNAL_CI_CICAM_PLAYER_INFO_SPEED, 0, static_cast<std::uint16_t>(playback->speed));
    }
    return true;
}

void TCPlayer::m_Monitor()
{
    m_Raise(SIGNAL_CI_CICAM_PLAYER_INFO_POSITION, 0, static_cast<std::uint32_t>(m_Position() / UNITS_PER_MS / 1'000));
    m_playback->monitorEvent =
        m_world.After(m_world.slots[m_playback->slot], m_playback->monitorMs, [this] { m_Monitor(); });
}

void TCPlayer::m_Raise(ECISignalType type, const protocol::SGiven& code, std::uint32_t value)
{
    m_world.Raise(SlotSignal(type, m_playback->slot, code, m_playback->handle, value));
}

TSOutcome TCPlayer::StartFromCam(unsigned slot, const std::string& location)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found)
    {
        return TSOutcome::Refused("no ready CAM in slot " + std::to_string(slot));
    }
    if (m_playback)
    {
        return TSOutcome::Refused("the player is busy");
    }
    for (const TSContentDefinition& content : found->cam.contents)
    {
        if (content.location == location)
        {
            m_Begin(*found, content, m_NewHandle());
            return TSOutcome::Done();
        }
    }
    return TSOutcome::Refused("the CAM in slot " + std::to_string(slot) + " does not know '" + location + "'");
}

TSOutcome TCPlayer::Fail(int error)
{
    if (!m_playback)
    {
        return TSOutcome::Refused("nothing is being played");
    }
    m_Raise(SIGNAL_CI_CICAM_PLAYER_ERROR, error);
    m_Stop();
    return TSOutcome::Done();
}

void TCPlayer::OnCamGone(const TSSlot& slot)
{
    if (m_playback && m_playback->slot == slot.number)
    {
        Fail(PLAYER_ERROR_CAM_GONE);
    }
}

json::TCDraft TCPlayer::State() const
{
    if (!m_playback)
    {
        return nullptr;
    }
    return json::Record({{"handle", m_playback->handle},
                         {"slot", m_playback->slot},
                         {"location", m_playback->content.location},
                         {"started", m_playback->isStarted},
                         {"positionMs", m_playback->isStarted ? m_Position() / UNITS_PER_MS : 0},
                         {"speed", m_playback->speed},
                         {"monitorMs", m_playback->monitorMs}});
}
} // namespace CIM::sim
