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

    bool IsDRMSupported(TSDRMSystemId const&) override { return false; }
    bool IsDRMSupported(TSDRMUuid const&) override { return false; }
    bool StartSampleDecryption(TVSHandle const&, std::vector<TSSampleTrackNonTSFormat> const&) override
    {
        return false;
    }
    bool StartSampleDecryption(TVSHandle const&, unsigned short, std::vector<TSDRMMetadataRecord> const&) override
    {
        return false;
    }
    bool UpdateSampleDecryption(TVSHandle const&, std::vector<TSSampleTrackNonTSFormat> const&) override
    {
        return false;
    }
    bool UpdateSampleDecryption(TVSHandle const&, std::vector<TSDRMMetadataRecord> const&) override { return false; }

    ~TCCISampleDecryptionProxyNO_CI() override;
};
} // namespace CIM
