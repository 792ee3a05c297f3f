#pragma once

#include <ciapi/CIEnumNames.h>
#include <ciapi/Export.h>

#include <tvplatform/Marshalable.h>

#include <array>
#include <set>
#include <string>
#include <vector>

class TCTreeFormatter;

namespace CIM
{
// The text of each of these enumerations is the name and the number, "CENC_PSSH_BOX(3)"; a value without a name gives
// "NOT_SUPPORTED(<value>)". Nothing is logged.
// clang-format off

#define CIAPI_VALUES_EDRMMetadataSource(X) \
    X(0, UNDEFINED)                        \
    X(1, CASD_DRM_GENERIC_DATA)            \
    X(2, CASD_DRM_PRIVATE_DATA)            \
    X(3, CENC_PSSH_BOX)                    \
    X(4, MPD_CONTENT_PROTECTION_ELEMENT)   \
    X(6, ONLINE_SDT_DRM_GENERIC_DATA)      \
    X(7, ONLINE_SDT_DRM_PRIVATE_DATA)
/// Where DRM metadata comes from. 5 has no name.
CIAPI_ENUMERATION(EDRMMetadataSource)

#define CIAPI_VALUES_ESampleDecryptionTransmissionStatus(X) \
    X(0, CI_SD_TX_STATUS_READY_TO_RECEIVE)                  \
    X(1, CI_SD_TX_STATUS_ERROR_CICAM_BUSY)                  \
    X(2, CI_SD_TX_STATUS_ERROR_OTHER_REASON)
/// Whether the CAM takes samples.
CIAPI_ENUMERATION(ESampleDecryptionTransmissionStatus)

#define CIAPI_VALUES_ESampleDecryptionDRMStatus(X)        \
    X(0, CI_SD_DRM_STATUS_DECRYPTION_POSSIBLE)            \
    X(1, CI_SD_DRM_STATUS_STATUS_CURRENTLY_UNDETERMINED)  \
    X(2, CI_SD_DRM_STATUS_ERROR_NO_ENTITLEMENT)
/// Whether the CAM can decrypt samples.
CIAPI_ENUMERATION(ESampleDecryptionDRMStatus)

// clang-format on

/// The identifier of a DRM system, as a CA system id.
struct CIAPI_EXPORT TSDRMSystemId : public TCMarshalable
{
    /// An identifier that is not valid: 0xFFFF.
    TSDRMSystemId() = default;
    explicit TSDRMSystemId(unsigned short systemId); ///< a CA system id

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    /// Every identifier but 0xFFFF is valid.
    bool IsValid() const;
    operator unsigned short const&() const; ///< the identifier

    bool operator==(const TSDRMSystemId& other) const; ///< all members are equal
    bool operator!=(const TSDRMSystemId& other) const; ///< not ==
    bool operator<(const TSDRMSystemId& other) const;  ///< by number

    unsigned short systemId = 0xFFFF; ///< 0xFFFF: not valid

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};

/// The identifier of a DRM system, a key or a content, of 16 bytes.
struct CIAPI_EXPORT TSDRMUuid : public TCMarshalable
{
    /// 16 bytes of 0xFF: the identifier that is not valid. Usable before main() and at exit.
    static constexpr std::array<unsigned char, 16> UUID_INVALID = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                                                   0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

    /// UUID_INVALID.
    TSDRMUuid();
    /// \param[in] bytes  16 bytes; any other count gives UUID_INVALID
    explicit TSDRMUuid(const std::vector<unsigned char>& bytes);
    /// Not explicit, so that an identifier can be compared with UUID_INVALID.
    TSDRMUuid(const std::array<unsigned char, 16>& bytes);

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    /// 16 bytes that are not UUID_INVALID. What comes from the daemon can have any size.
    bool IsValid() const;

    bool operator==(const TSDRMUuid& other) const; ///< all members are equal
    bool operator!=(const TSDRMUuid& other) const; ///< not ==
    /// Orders by bytes; the beginning of a longer identifier is less.
    bool operator<(const TSDRMUuid& other) const;

    std::vector<unsigned char> uuid; ///< 16 bytes when it is valid

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};

/// One record of DRM metadata that describes media samples.
struct CIAPI_EXPORT TSDRMMetadataRecord : public TCMarshalable
{
    TSDRMMetadataRecord() = default; ///< of no source, without bytes
    /// All members.
    TSDRMMetadataRecord(EDRMMetadataSource source, const TSDRMSystemId& systemId, const TSDRMUuid& uuid,
                        const std::vector<unsigned char>& metadata);

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;
    bool operator==(const TSDRMMetadataRecord& other) const; ///< all members are equal
    bool operator!=(const TSDRMMetadataRecord& other) const; ///< not ==

    EDRMMetadataSource source = UNDEFINED; ///< where the bytes come from
    TSDRMSystemId systemId;                ///< the DRM system they are for
    TSDRMUuid uuid;                        ///< the same, or a key or a content, as the source has it
    /// The raw bytes, in the format that the source uses.
    std::vector<unsigned char> metadata;

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};

/// A track whose samples do not come from a transport stream.
struct CIAPI_EXPORT TSSampleTrackNonTSFormat : public TCMarshalable
{
    TSSampleTrackNonTSFormat() = default; ///< PID 0, no records
    /// All members.
    TSSampleTrackNonTSFormat(unsigned short trackPid, const std::vector<TSDRMMetadataRecord>& drmRecords);

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;
    bool operator==(const TSSampleTrackNonTSFormat& other) const; ///< all members are equal
    bool operator!=(const TSSampleTrackNonTSFormat& other) const; ///< not ==

    unsigned short trackPid = 0;                 ///< its PID
    std::vector<TSDRMMetadataRecord> drmRecords; ///< how the samples are protected

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};

/// The DRM systems that a CAM supports.
struct CIAPI_EXPORT TSDRMSystemsData : public TCMarshalable
{
    TSDRMSystemsData() = default; ///< none
    /// All members.
    TSDRMSystemsData(const std::set<TSDRMSystemId>& drmSystemIds, const std::set<TSDRMUuid>& drmUuids);

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;
    bool operator==(const TSDRMSystemsData& other) const; ///< all members are equal
    bool operator!=(const TSDRMSystemsData& other) const; ///< not ==

    std::set<TSDRMSystemId> drmSystemIds; ///< those with a CA system id
    std::set<TSDRMUuid> drmUuids;         ///< those with a UUID

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};

/// How sample decryption goes. Has no tree form of its own.
struct CIAPI_EXPORT TSSampleDecryptionStatus
{
    bool operator==(const TSSampleDecryptionStatus& other) const; ///< all members are equal
    bool operator!=(const TSSampleDecryptionStatus& other) const; ///< not ==

    /// Whether the CAM takes samples.
    ESampleDecryptionTransmissionStatus transmissionStatus = CI_SD_TX_STATUS_ERROR_OTHER_REASON;
    /// Whether it can decrypt them.
    ESampleDecryptionDRMStatus drmStatus = CI_SD_DRM_STATUS_STATUS_CURRENTLY_UNDETERMINED;
    TSDRMSystemId drmSystemId = TSDRMSystemId(0); ///< the system in use
    TSDRMUuid drmUuid;                            ///< the same as a UUID
    /// The size of the CAM's sample buffer, in the daemon's unit.
    unsigned short bufferSize = 0;
};

/// A text for log lines: identifiers in decimal, byte strings as ByteArrayToString gives them. Reentrant.
/// @{
CIAPI_EXPORT std::string ToString(const TSDRMSystemId& systemId);
CIAPI_EXPORT std::string ToString(const TSDRMUuid& uuid);
CIAPI_EXPORT std::string ToString(const TSDRMMetadataRecord& record);
CIAPI_EXPORT std::string ToString(const TSSampleTrackNonTSFormat& track);
CIAPI_EXPORT std::string ToString(const TSDRMSystemsData& systems);
CIAPI_EXPORT std::string ToString(const TSSampleDecryptionStatus& status);
/// @}
} // namespace CIM
