#include "proxy/CISampleDecryptionProxy.h"

#include "protocol/SampleDecryption.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCCISampleDecryptionProxy::TCCISampleDecryptionProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<ICISampleDecryption>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCCISampleDecryptionProxy", __LINE__, "");
    m_call.WaitForInterface();
}

TCCISampleDecryptionProxy::~TCCISampleDecryptionProxy() { CIM_LOG_INFO_AT("~TCCISampleDecryptionProxy", __LINE__, ""); }

bool TCCISampleDecryptionProxy::IsDRMSupported(TSDRMSystemId const& systemId)
{
    if (const auto reply = m_call(protocol::sampleDecryption::IsDRMSystemIdSupported, systemId))
    {
        return *reply;
    }
    return TCCISampleDecryptionProxyNO_CI::IsDRMSupported(systemId);
}

bool TCCISampleDecryptionProxy::IsDRMSupported(TSDRMUuid const& uuid)
{
    if (const auto reply = m_call(protocol::sampleDecryption::IsDRMUuidSupported, uuid))
    {
        return *reply;
    }
    return TCCISampleDecryptionProxyNO_CI::IsDRMSupported(uuid);
}

bool TCCISampleDecryptionProxy::StartSampleDecryption(TVSHandle const& handle,
                                                      std::vector<TSSampleTrackNonTSFormat> const& tracks)
{
    if (const auto reply = m_call(protocol::sampleDecryption::StartWithTracks, handle, tracks))
    {
        return *reply;
    }
    return TCCISampleDecryptionProxyNO_CI::StartSampleDecryption(handle, tracks);
}

bool TCCISampleDecryptionProxy::StartSampleDecryption(TVSHandle const& handle, unsigned short drmSystem,
                                                      std::vector<TSDRMMetadataRecord> const& records)
{
    if (const auto reply = m_call(protocol::sampleDecryption::StartWithRecords, handle, drmSystem, records))
    {
        return *reply;
    }
    return TCCISampleDecryptionProxyNO_CI::StartSampleDecryption(handle, drmSystem, records);
}

bool TCCISampleDecryptionProxy::UpdateSampleDecryption(TVSHandle const& handle,
                                                       std::vector<TSSampleTrackNonTSFormat> const& tracks)
{
    if (const auto reply = m_call(protocol::sampleDecryption::UpdateWithTracks, handle, tracks))
    {
        return *reply;
    }
    return TCCISampleDecryptionProxyNO_CI::UpdateSampleDecryption(handle, tracks);
}

bool TCCISampleDecryptionProxy::UpdateSampleDecryption(TVSHandle const& handle,
                                                       std::vector<TSDRMMetadataRecord> const& records)
{
    if (const auto reply = m_call(protocol::sampleDecryption::UpdateWithRecords, handle, records))
    {
        return *reply;
    }
    return TCCISampleDecryptionProxyNO_CI::UpdateSampleDecryption(handle, records);
}
} // namespace CIM
