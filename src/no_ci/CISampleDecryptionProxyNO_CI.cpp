#include "no_ci/CISampleDecryptionProxyNO_CI.h"

#include "utils/CIAPILog.h"

namespace CIM
{
TCCISampleDecryptionProxyNO_CI::TCCISampleDecryptionProxyNO_CI()
{
    CIM_LOG_INFO_AT("TCCISampleDecryptionProxyNO_CI", 34, "");
}

TCCISampleDecryptionProxyNO_CI::~TCCISampleDecryptionProxyNO_CI()
{
    CIM_LOG_INFO_AT("~TCCISampleDecryptionProxyNO_CI", 41, "");
}

bool TCCISampleDecryptionProxyNO_CI::IsDRMSupported(TSDRMSystemId const&) { return false; }

bool TCCISampleDecryptionProxyNO_CI::IsDRMSupported(TSDRMUuid const&) { return false; }

bool TCCISampleDecryptionProxyNO_CI::StartSampleDecryption(TVSHandle const&,
                                                           std::vector<TSSampleTrackNonTSFormat> const&)
{
    return false;
}

bool TCCISampleDecryptionProxyNO_CI::StartSampleDecryption(TVSHandle const&, unsigned short,
                                                           std::vector<TSDRMMetadataRecord> const&)
{
    return false;
}

bool TCCISampleDecryptionProxyNO_CI::UpdateSampleDecryption(TVSHandle const&,
                                                            std::vector<TSSampleTrackNonTSFormat> const&)
{
    return false;
}

bool TCCISampleDecryptionProxyNO_CI::UpdateSampleDecryption(TVSHandle const&, std::vector<TSDRMMetadataRecord> const&)
{
    return false;
}
} // namespace CIM
