#pragma once

#include "simulator/world/World.h"

#include <ciapi/ICISampleDecryption.h>

#include "json/Draft.h"

#include <map>

namespace CIM::sim
{
/// Sample decryption: one session for each pipeline. What the interface leaves to the daemon is decided so:
/// - The DRM system is the first one, in the order given, that a ready CAM supports, by system id or by UUID. When
///   there is none the start is refused.
/// - The 16-bit number that goes with metadata records is a DRM system id, tried before the records' own; 0xFFFF is
///   none.
/// - An update without tracks or records ends the session.
/// - A CAM that has as many sessions as it can have answers a further start with the status that it is busy.
/// SIGNAL_CI_SAMPLE_DECRYPTION_STATUS_CHANGED carries the transmission status as code, the DRM system id as id, and as
/// value the DRM status plus 65536 times the size of the sample buffer.
class TCDecryption final : public ICISampleDecryption
{
public:
    explicit TCDecryption(TSWorld& world) : m_world(world) {}

    bool IsDRMSupported(TSDRMSystemId const& systemId) override;
    bool IsDRMSupported(TSDRMUuid const& uuid) override;
    bool StartSampleDecryption(TVSHandle const& handle, std::vector<TSSampleTrackNonTSFormat> const& tracks) override;
    bool StartSampleDecryption(TVSHandle const& handle, unsigned short drmSystem,
                               std::vector<TSDRMMetadataRecord> const& records) override;
    bool UpdateSampleDecryption(TVSHandle const& handle, std::vector<TSSampleTrackNonTSFormat> const& tracks) override;
    bool UpdateSampleDecryption(TVSHandle const& handle, std::vector<TSDRMMetadataRecord> const& records) override;

    /// Changes what the CAM says about a session.
    TSOutcome SetStatus(const TVSHandle& pipeline, ESampleDecryptionDRMStatus status);

    void OnCamGone(const TSSlot& slot);
    json::TCDraft State() const;

private:
    using TKey = std::pair<int, unsigned short>;
    struct TSSession
    {
        unsigned char slot = 0;
        TVSHandle pipeline;
        TSDrmDefinition drm;
        ESampleDecryptionDRMStatus status = CI_SD_DRM_STATUS_STATUS_CURRENTLY_UNDETERMINED;
        std::size_t updates = 0;
        std::uint64_t number = 0; ///< tells sessions apart for what is still scheduled
    };
    struct TSChoice
    {
        const TSSlot* slot = nullptr;
        const TSDrmDefinition* drm = nullptr;
    };
    using TRecords = std::vector<TSDRMMetadataRecord>;

    TSChoice m_Choose(const TRecords& records) const;
    bool m_Start(const TVSHandle& pipeline, const TRecords& records);
    bool m_Update(const TVSHandle& pipeline, const TRecords& records);
    void m_Plan(const TSSession& session);
    void m_Announce(const TSSession& session, ESampleDecryptionTransmissionStatus transmission);

    TSWorld& m_world;
    std::map<TKey, TSSession> m_sessions;
    std::uint64_t m_lastNumber = 0;
};
} // namespace CIM::sim
