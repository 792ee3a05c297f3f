// Prints how each record lies in memory, one line a record, to be compared with layout.txt: what an application was
// compiled with must fit the library that it meets.

#include <ciapi/CICallOutcome.h>
#include <ciapi/CIService.h>

#include <cstddef>
#include <iostream>

// Member offsets of records with virtual operations: conditionally supported, and both our compilers do.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

#define RECORD(TYPE) std::cout << #TYPE << " size=" << sizeof(CIM::TYPE) << " align=" << alignof(CIM::TYPE);
#define MEMBER(TYPE, NAME) std::cout << " " #NAME "@" << offsetof(CIM::TYPE, NAME) << "+" << sizeof(CIM::TYPE::NAME);
#define END std::cout << '\n';

namespace CIM
{
using ::TSTvMode;
using ::TVSHandle;
} // namespace CIM

int main()
{
    // clang-format off
    RECORD(TVSHandle) MEMBER(TVSHandle, profile) MEMBER(TVSHandle, handle) MEMBER(TVSHandle, filler) END
    RECORD(TSTvMode) MEMBER(TSTvMode, antennaMode) MEMBER(TSTvMode, serviceMode) END
    RECORD(TSSignalData) MEMBER(TSSignalData, bytes) END
    RECORD(SContentSection) MEMBER(SContentSection, firstValue) MEMBER(SContentSection, secondValue) END
    RECORD(TSSampleDecryptionStatus) MEMBER(TSSampleDecryptionStatus, transmissionStatus)
        MEMBER(TSSampleDecryptionStatus, drmStatus) MEMBER(TSSampleDecryptionStatus, drmSystemId)
        MEMBER(TSSampleDecryptionStatus, drmUuid) MEMBER(TSSampleDecryptionStatus, bufferSize) END
    RECORD(TCIText) MEMBER(TCIText, text) END
    RECORD(TCSlotInfo) MEMBER(TCSlotInfo, slotFlag) MEMBER(TCSlotInfo, slotValue) MEMBER(TCSlotInfo, handles)
        MEMBER(TCSlotInfo, codes) END
    RECORD(TCCiStatus) MEMBER(TCCiStatus, slots) END
    RECORD(TSCIOperatorProfileData) MEMBER(TSCIOperatorProfileData, antennaMode)
        MEMBER(TSCIOperatorProfileData, serviceMode) MEMBER(TSCIOperatorProfileData, slotId)
        MEMBER(TSCIOperatorProfileData, profileName) MEMBER(TSCIOperatorProfileData, supportedAntennaModes)
        MEMBER(TSCIOperatorProfileData, profileType) END
    RECORD(TSDRMSystemId) MEMBER(TSDRMSystemId, systemId) END
    RECORD(TSDRMUuid) MEMBER(TSDRMUuid, uuid) END
    RECORD(TSDRMMetadataRecord) MEMBER(TSDRMMetadataRecord, source) MEMBER(TSDRMMetadataRecord, systemId)
        MEMBER(TSDRMMetadataRecord, uuid) MEMBER(TSDRMMetadataRecord, metadata) END
    RECORD(TSSampleTrackNonTSFormat) MEMBER(TSSampleTrackNonTSFormat, trackPid)
        MEMBER(TSSampleTrackNonTSFormat, drmRecords) END
    RECORD(TSDRMSystemsData) MEMBER(TSDRMSystemsData, drmSystemIds) MEMBER(TSDRMSystemsData, drmUuids) END
    RECORD(TSCICAMPlayerHandle) MEMBER(TSCICAMPlayerHandle, identifier) END
    RECORD(TSPlaybackSpeed) MEMBER(TSPlaybackSpeed, hundredths) END
    RECORD(TSPlaybackPosition) MEMBER(TSPlaybackPosition, seekMode) MEMBER(TSPlaybackPosition, position) END
    RECORD(TSIPServiceLocationData) MEMBER(TSIPServiceLocationData, location) END
    RECORD(TCCiAuxiliaryFileSystemDTO) MEMBER(TCCiAuxiliaryFileSystemDTO, shortValue)
        MEMBER(TCCiAuxiliaryFileSystemDTO, intValue) MEMBER(TCCiAuxiliaryFileSystemDTO, domainId) END
    RECORD(TCCiFileAckDTO) MEMBER(TCCiFileAckDTO, firstFlag) MEMBER(TCCiFileAckDTO, secondFlag)
        MEMBER(TCCiFileAckDTO, requestType) MEMBER(TCCiFileAckDTO, firstData) MEMBER(TCCiFileAckDTO, secondData) END
    RECORD(TSCallOutcome) MEMBER(TSCallOutcome, outcome) MEMBER(TSCallOutcome, errorName)
        MEMBER(TSCallOutcome, errorText) END
    // clang-format on
}
