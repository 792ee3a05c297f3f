#include "Pvr.h"

#include "commandline/Nearest.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
constexpr int EMI_COPY_NEVER = 3;
constexpr int DEFAULT_RETENTION_MINUTES = 90;
constexpr TTime MINUTE = 60'000;
} // namespace

TCPvr::TCPvr(TSWorld& world, TCCa& ca) : m_world(world), m_ca(ca)
{
    for (const TSRecordingDefinition& recording : world.definition.recordings)
    {
        Add(recording);
    }
}

TCPvr::TSRecording* TCPvr::m_Find(const std::string& file)
{
    const auto found = m_recordings.find(file);
    return found == m_recordings.end() ? nullptr : &found->second;
}

TSOutcome TCPvr::m_NoRecording(const std::string& file) const
{
    const auto name = [](const auto& known) -> const std::string& { return known.first; };
    return TSOutcome::Refused("there is no recording '" + file + "'" + DidYouMean(file, NamesOf(m_recordings, name)));
}

const TCPvr::TSRecording* TCPvr::m_Playing() const { return m_playing ? &m_recordings.at(*m_playing) : nullptr; }

std::optional<TTime> TCPvr::m_EndOfRetention(const TSRecordingDefinition& definition) const
{
    if (definition.retentionMinutes >= 0)
    {
        return definition.recordedAtMs + definition.retentionMinutes * MINUTE;
    }
    if (definition.emi == EMI_COPY_NEVER)
    {
        return definition.recordedAtMs + DEFAULT_RETENTION_MINUTES * MINUTE;
    }
    return std::nullopt;
}

bool TCPvr::m_IsExceeded(const TSRecording& recording) const
{
    const auto end = m_EndOfRetention(recording.definition);
    return recording.isForcedOut || (end && m_world.clock.Now() >= *end);
}

bool TCPvr::m_IsCamThere(const TSRecording& recording) const
{
    const std::string& cam = recording.definition.cam;
    return cam.empty() || std::any_of(m_world.slots.begin(), m_world.slots.end(),
                                      [&](const TSSlot& slot) { return slot.IsReady() && slot.cam.name == cam; });
}

std::vector<SContentSection> TCPvr::m_Expired(const TSRecording& recording) const
{
    const TSRecordingDefinition& definition = recording.definition;
    if (m_IsExceeded(recording))
    {
        return {{0, definition.durationMs}};
    }
    std::vector<SContentSection> expired;
    for (const TSSectionDefinition& section : definition.sections)
    {
        if (m_world.clock.Now() >= definition.recordedAtMs + section.retentionMinutes * MINUTE)
        {
            expired.push_back({section.begin, section.end});
        }
    }
    return expired;
}

int TCPvr::SetRecordingEsPids(TVSHandle const& handle, std::list<unsigned short> const& pids, bool)
{
    if (pids.empty())
    {
        m_pids.erase({handle.profile, handle.handle});
    }
    else
    {
        m_pids[{handle.profile, handle.handle}] = pids;
    }
    return 1;
}

int TCPvr::IsFileExceededRetentionLimit(std::string const& file, bool& exceeded)
{
    const TSRecording* const recording = m_Find(file);
    if (!recording)
    {
        return 0;
    }
    exceeded = m_IsExceeded(*recording);
    return 1;
}

int TCPvr::GetCIThumbType(std::string const& file, EThumbType& thumbType)
{
    const TSRecording* const recording = m_Find(file);
    if (!recording)
    {
        return 0;
    }
    const bool isPartial = !m_Expired(*recording).empty();
    thumbType = m_IsExceeded(*recording) ? THUMB_TYPE_INVALID
                : isPartial              ? THUMB_TYPE_PARTIAL_RETENTION
                                         : THUMB_TYPE_OK;
    return 1;
}

int TCPvr::GetContentInfo(std::string const& file, EInfoType& infoType, unsigned char& value)
{
    const TSRecording* const recording = m_Find(file);
    if (!recording)
    {
        return 0;
    }
    value = 0;
    if (recording->definition.emi == 0)
    {
        infoType = INFO_TYPE_NO_CICAM_INFO;
    }
    else if (!m_IsCamThere(*recording))
    {
        infoType = INFO_TYPE_CICAM_NOT_INSERTED;
    }
    else if (!recording->definition.isVerified)
    {
        infoType = INFO_TYPE_NOT_VERIFIED;
    }
    else if (m_IsExceeded(*recording) || recording->playsLeft == 0)
    {
        infoType = INFO_TYPE_NOT_VALID;
    }
    else if (recording->playsLeft > 0)
    {
        infoType = INFO_TYPE_PLAY_COUNT;
        value = static_cast<unsigned char>(std::min(recording->playsLeft, 255));
    }
    else
    {
        infoType = INFO_TYPE_NO_CICAM_INFO;
    }
    return 1;
}

int TCPvr::GetExpiredContentSections(std::string const& file, std::vector<SContentSection>& sections)
{
    const TSRecording* const recording = m_Find(file);
    if (!recording)
    {
        return 0;
    }
    sections = m_Expired(*recording);
    return 1;
}

int TCPvr::IsBlockedByParentalControl(std::string const& file, bool& blocked)
{
    const TSRecording* const recording = m_Find(file);
    if (!recording)
    {
        return 0;
    }
    blocked = recording->definition.isBlocked;
    return 1;
}

int TCPvr::CheckThumbnailValidation(std::string const& file, long const& time, bool& valid)
{
    const TSRecording* const recording = m_Find(file);
    if (!recording)
    {
        return 0;
    }
    const auto expired = m_Expired(*recording);
    valid = time >= 0 && time <= recording->definition.durationMs &&
            std::none_of(expired.begin(), expired.end(),
                         [&](const SContentSection& section)
                         { return time >= section.firstValue && time < section.secondValue; }) &&
            !m_IsExceeded(*recording);
    return 1;
}

int TCPvr::IsThisStreamCopyProtected(TVSHandle const& handle, bool& isProtected)
{
    isProtected = m_ca.IsCopyProtected(handle);
    return 1;
}

bool TCPvr::m_Limit(std::int64_t limit, int& allowed)
{
    allowed = static_cast<int>(limit);
    return limit != 0;
}

std::int64_t TCPvr::m_LimitBehind(const TSRecording& recording, std::int64_t position, int limit) const
{
    std::int64_t room = -1;
    for (const SContentSection& section : m_Expired(recording))
    {
        if (section.firstValue <= position)
        {
            const std::int64_t behind = std::max<std::int64_t>(0, position - section.secondValue);
            room = room < 0 ? behind : std::min(room, behind);
        }
    }
    if (limit < 0 || room < 0)
    {
        return std::max<std::int64_t>(limit, room);
    }
    return std::min<std::int64_t>(limit, room);
}

bool TCPvr::IsSkippingForwardAllowed(int, int& allowed)
{
    const TSRecording* const recording = m_Playing();
    return m_Limit(recording ? recording->definition.limits.skipForward : -1, allowed);
}

bool TCPvr::IsSkippingBackwardsAllowed(int position, int& allowed)
{
    const TSRecording* const recording = m_Playing();
    return m_Limit(recording ? m_LimitBehind(*recording, position, recording->definition.limits.skipBackward) : -1,
                   allowed);
}

bool TCPvr::IsFastForwardAllowed(int, int& allowed, ESpeedRestriction& restriction)
{
    const TSRecording* const recording = m_Playing();
    restriction =
        recording ? static_cast<ESpeedRestriction>(recording->definition.limits.maxSpeed) : SPEED_RESTRICTION_NONE;
    return m_Limit(recording ? recording->definition.limits.fastForward : -1, allowed);
}

bool TCPvr::IsFastRewindAllowed(int position, int& allowed, ESpeedRestriction& restriction)
{
    const TSRecording* const recording = m_Playing();
    restriction =
        recording ? static_cast<ESpeedRestriction>(recording->definition.limits.maxSpeed) : SPEED_RESTRICTION_NONE;
    return m_Limit(recording ? m_LimitBehind(*recording, position, recording->definition.limits.fastRewind) : -1,
                   allowed);
}

void TCPvr::RequestStop(ECISignalType type, const TVSHandle& pipeline, int reason)
{
    if (type == SIGNAL_CI_PLAYBACK_STOP_REQUEST)
    {
        m_playing.reset();
    }
    m_world.Raise(PipelineSignal(type, pipeline, NO_SLOT, reason));
}

TSOutcome TCPvr::Play(const std::string& file, const TVSHandle& pipeline)
{
    TSRecording* const recording = m_Find(file);
    if (!recording)
    {
        return m_NoRecording(file);
    }
    const auto stop = [&](EPvrPlaybackStopReasonByCI reason)
    {
        RequestStop(SIGNAL_CI_PLAYBACK_STOP_REQUEST, pipeline, reason);
        return TSOutcome::Done();
    };
    if (m_IsExceeded(*recording))
    {
        return stop(PLAYBACK_STOP_CONTENT_EXPIRED);
    }
    if (!m_IsCamThere(*recording) || !recording->definition.isVerified)
    {
        return stop(PLAYBACK_STOP_LICENSE_VERIFICATION_FAILS);
    }
    if (recording->playsLeft == 0)
    {
        return stop(PLAYBACK_STOP_LICENSE_STATUS_INVALID);
    }
    if (recording->playsLeft > 0)
    {
        --recording->playsLeft;
    }
    m_playing = file;
    m_pipeline = pipeline;
    m_world.Raise(PipelineSignal(SIGNAL_CI_CC_LICENSE_CONFIRMED, pipeline, NO_SLOT, recording->definition.emi, 0,
                                 recording->playsLeft));
    return TSOutcome::Done();
}

TSOutcome TCPvr::EndPlay()
{
    if (!m_playing)
    {
        return TSOutcome::Refused("no recording is being played");
    }
    m_playing.reset();
    return TSOutcome::Done();
}

TSOutcome TCPvr::Expire(const std::string& file)
{
    TSRecording* const recording = m_Find(file);
    if (!recording)
    {
        return m_NoRecording(file);
    }
    recording->isForcedOut = true;
    m_OnExpired(file);
    return TSOutcome::Done();
}

void TCPvr::m_OnExpired(const std::string& file)
{
    if (m_playing == file)
    {
        RequestStop(SIGNAL_CI_PLAYBACK_STOP_REQUEST, m_pipeline, PLAYBACK_STOP_CONTENT_EXPIRED);
    }
}

void TCPvr::Add(TSRecordingDefinition definition)
{
    const std::string file = definition.file;
    TSRecording& recording = m_recordings[file];
    m_world.clock.Cancel(recording.expiry);
    recording = {std::move(definition), 0, false, 0};
    recording.playsLeft = recording.definition.playCount;
    if (const auto end = m_EndOfRetention(recording.definition); end && *end > m_world.clock.Now())
    {
        recording.expiry = m_world.clock.At(*end, [this, file] { m_OnExpired(file); });
    }
}

TSOutcome TCPvr::SetBlocked(const std::string& file, bool isBlocked)
{
    TSRecording* const recording = m_Find(file);
    if (!recording)
    {
        return m_NoRecording(file);
    }
    recording->definition.isBlocked = isBlocked;
    return TSOutcome::Done();
}

void TCPvr::OnCamGone(const TSSlot& slot)
{
    if (const TSRecording* const recording = m_Playing(); recording && recording->definition.cam == slot.cam.name)
    {
        RequestStop(SIGNAL_CI_PLAYBACK_STOP_REQUEST, m_pipeline, PLAYBACK_STOP_LICENSE_STATUS_INVALID);
    }
    for (const TVSHandle& pipeline : slot.pipelines)
    {
        if (slot.cam.emi != 0 && m_pids.erase({pipeline.profile, pipeline.handle}) > 0)
        {
            RequestStop(SIGNAL_CI_RECORD_STOP_REQUEST, pipeline, RECORD_STOP_LICENSE_STATUS_INVALID);
        }
    }
}

json::TCDraft TCPvr::State() const
{
    json::TCDraft recordings = json::List();
    for (const auto& [file, recording] : m_recordings)
    {
        const auto end = m_EndOfRetention(recording.definition);
        recordings.Append(json::Record({{"file", file},
                                        {"emi", recording.definition.emi},
                                        {"exceeded", m_IsExceeded(recording)},
                                        {"expiresAt", end ? json::TCDraft(*end) : json::TCDraft()},
                                        {"expiredSections", m_Expired(recording).size()},
                                        {"playsLeft", recording.playsLeft},
                                        {"blocked", recording.definition.isBlocked}}));
    }
    json::TCDraft pids = json::List();
    for (const auto& [pipeline, list] : m_pids)
    {
        pids.Append(json::Record({{"profile", pipeline.first}, {"handle", pipeline.second}, {"pids", list}}));
    }
    return json::Record({{"recordings", std::move(recordings)},
                         {"recordingPids", std::move(pids)},
                         {"playing", m_playing ? json::TCDraft(*m_playing) : json::TCDraft()}});
}
} // namespace CIM::sim
