#pragma once

#include "no_ci/CISampleDecryptionProxyNO_CI.h"
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

    bool IsDRMSupported(TSDRMSystemId const& systemId) override;
    bool IsDRMSupported(TSDRMUuid const& uuid) override;
    bool StartSampleDecryption(TVSHandle const& handle, std::vector<TSSampleTrackNonTSFormat> const& tracks) override;
    bool StartSampleDecryption(TVSHandle const& handle, unsigned short drmSystem,
                               std::vector<TSDRMMetadataRecord> const& records) override;
    bool UpdateSampleDecryption(TVSHandle const& handle, std::vector<TSSampleTrackNonTSFormat> const& tracks) override;
    bool UpdateSampleDecryption(TVSHandle const& handle, std::vector<TSDRMMetadataRecord> const& records) override;

private:
    TCProxyCall m_call;
};
} // namespace CIM
