#pragma once

#include <ciapi/CISampleDecryptionDataType.h>
#include <ciapi/Export.h>

#include <tvplatform/Types.h>

#include <vector>

namespace CIM
{
/// CI Plus sample decryption: media samples that do not come from a transport stream are decrypted by a CAM, with the
/// DRM metadata that describes them.
///
/// What holds for every operation:
/// - It is one call to the CI daemon. It blocks the calling thread, and only that, until the daemon answers or the bus
///   gives up (25 seconds unless the bus is configured otherwise).
/// - It is thread-safe. Called from inside a signal callback it delays the signals behind it.
/// - The result is what the daemon answered; on a set without CI, without daemon, without a timely answer or when the
///   answer held no result it is false.
/// - Arguments are not checked; vectors may be empty. The caller keeps everything it passes. Nothing is thrown.
///
/// Obtained from TCCIService::CISampleDecryptionInstance() and owned by it. The order of the declarations is binary
/// interface, and here the destructor comes last; new operations go behind it.
class CIAPI_EXPORT ICISampleDecryption
{
public:
    /// Whether a CAM supports a DRM system.
    /// \param[in] systemId  the DRM system, by number
    virtual bool IsDRMSupported(TSDRMSystemId const& systemId) = 0;

    /// Whether a CAM supports a DRM system.
    /// \param[in] uuid  the DRM system, by UUID
    virtual bool IsDRMSupported(TSDRMUuid const& uuid) = 0;

    /// Starts decrypting the samples of some tracks. How it goes is announced by signals.
    /// \param[in] handle  the TV pipeline
    /// \param[in] tracks  the tracks and their DRM metadata
    virtual bool StartSampleDecryption(TVSHandle const& handle,
                                       std::vector<TSSampleTrackNonTSFormat> const& tracks) = 0;

    /// Starts decrypting samples that some metadata records describe.
    /// \param[in] handle     the TV pipeline
    /// \param[in] drmSystem  a 16-bit number that goes with the records; its meaning is the daemon's
    /// \param[in] records    the DRM metadata
    virtual bool StartSampleDecryption(TVSHandle const& handle, unsigned short drmSystem,
                                       std::vector<TSDRMMetadataRecord> const& records) = 0;

    /// Replaces the tracks of a running decryption.
    /// \param[in] handle  the TV pipeline
    /// \param[in] tracks  the tracks and their DRM metadata
    virtual bool UpdateSampleDecryption(TVSHandle const& handle,
                                        std::vector<TSSampleTrackNonTSFormat> const& tracks) = 0;

    /// Replaces the metadata records of a running decryption.
    /// \param[in] handle   the TV pipeline
    /// \param[in] records  the DRM metadata
    virtual bool UpdateSampleDecryption(TVSHandle const& handle, std::vector<TSDRMMetadataRecord> const& records) = 0;

    virtual ~ICISampleDecryption() = default;
};
} // namespace CIM
