#pragma once

#include "no_ci/CISampleDecryptionProxyNO_CI.h"
#include "protocol/SampleDecryption.h"
#include "proxy/ProxyCall.h"

namespace CIM
{
/// ICISampleDecryption over the bus: each operation is one call to the daemon, and the null answer when that fails.
/// Thread-safe: it keeps nothing between calls.
class TCCISampleDecryptionProxy : public TCCISampleDecryptionProxyNO_CI
{
public:
    /// Blocks until the daemon offers the interface, at the longest as long as the connection waits.
    explicit TCCISampleDecryptionProxy(boost::shared_ptr<TIIPCHelper> helper);
    ~TCCISampleDecryptionProxy() override;

    bool IsDRMSupported(TSDRMSystemId const& systemId) override
    {
        return m_call.Do<Taking<TSDRMSystemId const&>(&I::IsDRMSupported)>(systemId).Or(
            [&] { return TNull::IsDRMSupported(systemId); });
    }
    bool IsDRMSupported(TSDRMUuid const& uuid) override
    {
        return m_call.Do<Taking<TSDRMUuid const&>(&I::IsDRMSupported)>(uuid).Or(
            [&] { return TNull::IsDRMSupported(uuid); });
    }
    bool StartSampleDecryption(TVSHandle const& handle, std::vector<TSSampleTrackNonTSFormat> const& tracks) override
    {
        return m_call.Do<Taking<THandle, TTracks>(&I::StartSampleDecryption)>(handle, tracks)
            .Or([&] { return TNull::StartSampleDecryption(handle, tracks); });
    }
    bool StartSampleDecryption(TVSHandle const& handle, unsigned short drmSystem,
                               std::vector<TSDRMMetadataRecord> const& records) override
    {
        return m_call.Do<Taking<THandle, unsigned short>(&I::StartSampleDecryption)>(handle, drmSystem, records)
            .Or([&] { return TNull::StartSampleDecryption(handle, drmSystem, records); });
    }
    bool UpdateSampleDecryption(TVSHandle const& handle, std::vector<TSSampleTrackNonTSFormat> const& tracks) override
    {
        return m_call.Do<Taking<THandle, TTracks>(&I::UpdateSampleDecryption)>(handle, tracks)
            .Or([&] { return TNull::UpdateSampleDecryption(handle, tracks); });
    }
    bool UpdateSampleDecryption(TVSHandle const& handle, std::vector<TSDRMMetadataRecord> const& records) override
    {
        return m_call.Do<Taking<THandle, TRecords>(&I::UpdateSampleDecryption)>(handle, records)
            .Or([&] { return TNull::UpdateSampleDecryption(handle, records); });
    }

private:
    using I = ICISampleDecryption;
    using THandle = TVSHandle const&;
    using TTracks = std::vector<TSSampleTrackNonTSFormat> const&;
    using TRecords = std::vector<TSDRMMetadataRecord> const&;
    using TNull = TCCISampleDecryptionProxyNO_CI;

    TCProxyCall m_call;
};
} // namespace CIM
