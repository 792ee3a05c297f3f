#pragma once

#include <ciapi/ICISampleDecryption.h>

namespace CIM
{
/// What ICISampleDecryption answers on a set without CI, and what its proxy answers when the daemon does not: no, at
/// once, without touching outputs, except where the interface says otherwise. Stateless; thread-safe.
class TCCISampleDecryptionProxyNO_CI : public ICISampleDecryption
{
public:
    TCCISampleDecryptionProxyNO_CI();

    bool IsDRMSupported(TSDRMSystemId const& systemId) override;
    bool IsDRMSupported(TSDRMUuid const& uuid) override;
    bool StartSampleDecryption(TVSHandle const& handle, std::vector<TSSampleTrackNonTSFormat> const& tracks) override;
    bool StartSampleDecryption(TVSHandle const& handle, unsigned short drmSystem,
                               std::vector<TSDRMMetadataRecord> const& records) override;
    bool UpdateSampleDecryption(TVSHandle const& handle, std::vector<TSSampleTrackNonTSFormat> const& tracks) override;
    bool UpdateSampleDecryption(TVSHandle const& handle, std::vector<TSDRMMetadataRecord> const& records) override;

    ~TCCISampleDecryptionProxyNO_CI() override;
};
} // namespace CIM
