#include "Decryption.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
constexpr TTime START_MS = 50;

bool Matches(const TSDrmDefinition& drm, const TSDRMSystemId& systemId)
{
    return systemId.IsValid() && systemId.systemId == drm.systemId;
}

bool Matches(const TSDrmDefinition& drm, const TSDRMUuid& uuid) { return uuid.IsValid() && uuid.uuid == drm.uuid; }

template <class Id>
bool IsSupported(const TSWorld& world, const Id& id)
{
    return std::any_of(world.slots.begin(), world.slots.end(),
                       [&](const TSSlot& slot)
                       {
                           const auto& systems = slot.cam.drmSystems;
                           return slot.IsReady() && std::any_of(systems.begin(), systems.end(),
                                                                [&](const auto& drm) { return Matches(drm, id); });
                       });
}

std::vector<TSDRMMetadataRecord> RecordsOf(const std::vector<TSSampleTrackNonTSFormat>& tracks)
{
    std::vector<TSDRMMetadataRecord> records;
    for (const TSSampleTrackNonTSFormat& track : tracks)
    {
        records.insert(records.end(), track.drmRecords.begin(), track.drmRecords.end());
    }
    return records;
}
} // namespace

bool TCDecryption::IsDRMSupported(TSDRMSystemId const& systemId) { return IsSupported(m_world, systemId); }
bool TCDecryption::IsDRMSupported(TSDRMUuid const& uuid) { return IsSupported(m_world, uuid); }

TCDecryption::TSChoice TCDecryption::m_Choose(const TRecords& records) const
{
    for (const TSDRMMetadataRecord& record : records)
    {
        for (const TSSlot& slot : m_world.slots)
        {
            for (const TSDrmDefinition& drm : slot.cam.drmSystems)
            {
                if (slot.IsReady() && (Matches(drm, record.systemId) || Matches(drm, record.uuid)))
                {
                    return {&slot, &drm};
                }
            }
        }
    }
    return {};
}

bool TCDecryption::StartSampleDecryption(TVSHandle const& handle, std::vector<TSSampleTrackNonTSFormat> const& tracks)
{
    return m_Start(handle, RecordsOf(tracks));
}

bool TCDecryption::StartSampleDecryption(TVSHandle const& handle, unsigned short drmSystem,
                                         std::vector<TSDRMMetadataRecord> const& records)
{
    TRecords all = records;
    if (!all.empty())
    {
        all.insert(all.begin(), TSDRMMetadataRecord(UNDEFINED, TSDRMSystemId(drmSystem), TSDRMUuid(), {}));
    }
    return m_Start(handle, all);
}

bool TCDecryption::m_Start(const TVSHandle& pipeline, const TRecords& records)
{
    const TKey key(pipeline.profile, pipeline.handle);
    const TSChoice choice = m_Choose(records);
    if (!choice.drm || m_sessions.count(key) > 0)
    {
        return false;
    }
    TSSession session{choice.slot->number, pipeline, *choice.drm, choice.drm->status, 0, ++m_lastNumber};
    const auto running = std::count_if(m_sessions.begin(), m_sessions.end(),
                                       [&](const auto& entry) { return entry.second.slot == session.slot; });
    if (running >= choice.slot->cam.maxDecryptions)
    {
        m_world.After(*choice.slot, START_MS,
                      [this, session] { m_Announce(session, CI_SD_TX_STATUS_ERROR_CICAM_BUSY); });
        return true;
    }
    m_sessions[key] = session;
    m_Plan(session);
    return true;
}

bool TCDecryption::UpdateSampleDecryption(TVSHandle const& handle, std::vector<TSSampleTrackNonTSFormat> const& tracks)
{
    return m_Update(handle, RecordsOf(tracks));
}

bool TCDecryption::UpdateSampleDecryption(TVSHandle const& handle, std::vector<TSDRMMetadataRecord> const& records)
{
    return m_Update(handle, records);
}

bool TCDecryption::m_Update(const TVSHandle& pipeline, const TRecords& records)
{
    const auto found = m_sessions.find(TKey(pipeline.profile, pipeline.handle));
    if (found == m_sessions.end())
    {
        return false;
    }
    if (records.empty())
    {
        m_sessions.erase(found);
        return true;
    }
    const TSChoice choice = m_Choose(records);
    if (!choice.drm || choice.slot->number != found->second.slot)
    {
        return false;
    }
    TSSession& session = found->second;
    session.drm = *choice.drm;
    session.status = choice.drm->status;
    session.number = ++m_lastNumber;
    ++session.updates;
    m_Plan(session);
    return true;
}

void TCDecryption::m_Plan(const TSSession& session)
{
    const auto plan = [&](TTime delay, ESampleDecryptionDRMStatus status)
    {
        m_world.After(m_world.slots[session.slot], delay,
                      [this, pipeline = session.pipeline, number = session.number, status]
                      {
                          const auto then = m_sessions.find(TKey(pipeline.profile, pipeline.handle));
                          if (then == m_sessions.end() || then->second.number != number)
                          {
                              return;
                          }
                          then->second.status = status;
                          const auto transmission = then->second.drm.transmission;
                          m_Announce(then->second, transmission);
                          if (transmission != CI_SD_TX_STATUS_READY_TO_RECEIVE)
                          {
                              m_sessions.erase(then);
                          }
                      });
    };
    plan(START_MS, session.drm.status);
    for (const TSDrmStatusChange& change : session.drm.changes)
    {
        plan(START_MS + change.afterMs, change.status);
    }
}

void TCDecryption::m_Announce(const TSSession& session, ESampleDecryptionTransmissionStatus transmission)
{
    const std::uint32_t value = static_cast<std::uint32_t>(session.status) & 0xFFFFu;
    const std::uint32_t buffer = m_world.slots[session.slot].cam.sampleBufferSize;
    m_world.Raise(PipelineSignal(SIGNAL_CI_SAMPLE_DECRYPTION_STATUS_CHANGED, session.pipeline, session.slot,
                                 transmission, session.drm.systemId, value | buffer << 16));
}

TSOutcome TCDecryption::SetStatus(const TVSHandle& pipeline, ESampleDecryptionDRMStatus status)
{
    const auto found = m_sessions.find(TKey(pipeline.profile, pipeline.handle));
    if (found == m_sessions.end())
    {
        return TSOutcome::Refused("the pipeline has no sample decryption");
    }
    found->second.status = status;
    m_Announce(found->second, found->second.drm.transmission);
    return TSOutcome::Done();
}

void TCDecryption::OnCamGone(const TSSlot& slot)
{
    for (auto entry = m_sessions.begin(); entry != m_sessions.end();)
    {
        if (entry->second.slot != slot.number)
        {
            ++entry;
            continue;
        }
        TSSession gone = entry->second;
        entry = m_sessions.erase(entry);
        gone.status = CI_SD_DRM_STATUS_STATUS_CURRENTLY_UNDETERMINED;
        m_Announce(gone, CI_SD_TX_STATUS_ERROR_OTHER_REASON);
    }
}

json::TCDraft TCDecryption::State() const
{
    json::TCDraft result = json::List();
    for (const auto& [key, session] : m_sessions)
    {
        result.Append(json::Record({{"profile", key.first},
                                    {"handle", key.second},
                                    {"slot", session.slot},
                                    {"drmSystemId", session.drm.systemId},
                                    {"status", EnumName(session.status)},
                                    {"updates", session.updates}}));
    }
    return result;
}
} // namespace CIM::sim
