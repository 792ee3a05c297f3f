#pragma once

#include "protocol/Members.h"

#include <ciapi/CIAuxiliaryFileSystemDataType.h>
#include <ciapi/CICAMPlayerDataType.h>
#include <ciapi/CIGeneralDataType.h>
#include <ciapi/CIOperatorProfileDataType.h>
#include <ciapi/CISampleDecryptionDataType.h>
#include <ciapi/PvrCipDataType.h>

// The members of every value type of the library, and of the platform's that travel: one line a member.

namespace CIM::protocol
{
template <>
struct TMembers<TCIText>
{
    static constexpr std::tuple ROWS{Member<&TCIText::text>(0)};
};

template <>
struct TMembers<TCSlotInfo>
{
    static constexpr std::tuple ROWS{
        Member<&TCSlotInfo::slotFlag>(0),
        Member<&TCSlotInfo::slotValue>(1),
        Member<&TCSlotInfo::handles>(2),
        Member<&TCSlotInfo::codes>(3),
    };
};

template <>
struct TMembers<TCCiStatus>
{
    static constexpr std::tuple ROWS{Member<&TCCiStatus::slots>(0)};
};

template <>
struct TMembers<TSCIOperatorProfileData>
{
    static constexpr std::tuple ROWS{
        Member<&TSCIOperatorProfileData::antennaMode>(0),
        Member<&TSCIOperatorProfileData::serviceMode>(1),
        Member<&TSCIOperatorProfileData::slotId>(2),
        Member<&TSCIOperatorProfileData::profileName>(3),
        Member<&TSCIOperatorProfileData::supportedAntennaModes>(4),
        Member<&TSCIOperatorProfileData::profileType>(5),
    };
};

template <>
struct TMembers<TSDRMSystemId>
{
    static constexpr std::tuple ROWS{Member<&TSDRMSystemId::systemId>(0)};
};

template <>
struct TMembers<TSDRMUuid>
{
    static constexpr std::tuple ROWS{Member<&TSDRMUuid::uuid>(0)};
};

template <>
struct TMembers<TSDRMMetadataRecord>
{
    static constexpr std::tuple ROWS{
        Member<&TSDRMMetadataRecord::source>(0),
        Member<&TSDRMMetadataRecord::systemId>(1),
        Member<&TSDRMMetadataRecord::uuid>(2),
        Member<&TSDRMMetadataRecord::metadata>(3),
    };
};

template <>
struct TMembers<TSSampleTrackNonTSFormat>
{
    static constexpr std::tuple ROWS{
        Member<&TSSampleTrackNonTSFormat::trackPid>(0),
        Member<&TSSampleTrackNonTSFormat::drmRecords>(1),
    };
};

template <>
struct TMembers<TSDRMSystemsData>
{
    static constexpr std::tuple ROWS{
        Member<&TSDRMSystemsData::drmSystemIds>(0),
        Member<&TSDRMSystemsData::drmUuids>(1),
    };
};

/// Has no tree form of its own: whoever carries it pushes its fields.
template <>
struct TMembers<TSSampleDecryptionStatus>
{
    static constexpr std::tuple ROWS{
        Member<&TSSampleDecryptionStatus::transmissionStatus>(0), Member<&TSSampleDecryptionStatus::drmStatus>(1),
        Member<&TSSampleDecryptionStatus::drmSystemId>(2),        Member<&TSSampleDecryptionStatus::drmUuid>(3),
        Member<&TSSampleDecryptionStatus::bufferSize>(4),
    };
};

template <>
struct TMembers<TSCICAMPlayerHandle>
{
    static constexpr std::tuple ROWS{Member<&TSCICAMPlayerHandle::identifier>(0)};
};

template <>
struct TMembers<TSPlaybackSpeed>
{
    static constexpr std::tuple ROWS{Member<&TSPlaybackSpeed::hundredths>(0)};
};

template <>
struct TMembers<TSPlaybackPosition>
{
    static constexpr std::tuple ROWS{
        Member<&TSPlaybackPosition::seekMode>(0),
        Member<&TSPlaybackPosition::position>(1),
    };
};

template <>
struct TMembers<TSIPServiceLocationData>
{
    static constexpr std::tuple ROWS{Member<&TSIPServiceLocationData::location>(0)};
};

template <>
struct TMembers<TCCiAuxiliaryFileSystemDTO>
{
    static constexpr std::tuple ROWS{
        Member<&TCCiAuxiliaryFileSystemDTO::shortValue>(0),
        Member<&TCCiAuxiliaryFileSystemDTO::intValue>(1),
        Member<&TCCiAuxiliaryFileSystemDTO::domainId>(2),
    };
};

template <>
struct TMembers<TCCiFileAckDTO>
{
    static constexpr std::tuple ROWS{
        Member<&TCCiFileAckDTO::firstFlag>(0),
        Member<&TCCiFileAckDTO::secondFlag>(1),
        Member<&TCCiFileAckDTO::requestType, EFieldForm::LOW_BYTE>(2),
        Member<&TCCiFileAckDTO::firstData>(3),
        Member<&TCCiFileAckDTO::secondData>(4),
    };
};

/// Travels packed, as an element of a sequence: the fields lie one behind the other.
template <>
struct TMembers<SContentSection>
{
    static constexpr std::tuple ROWS{
        Member<&SContentSection::firstValue>(0),
        Member<&SContentSection::secondValue>(1),
    };
};

/// Travels packed, with two bytes of filler behind the fields.
template <>
struct TMembers<TVSHandle>
{
    static constexpr std::tuple ROWS{
        Member<&TVSHandle::profile>(0),
        Member<&TVSHandle::handle>(1),
    };
};

/// The platform writes its tree form.
template <>
struct TMembers<TSTvMode>
{
    static constexpr std::tuple ROWS{
        Member<&TSTvMode::antennaMode>(0),
        Member<&TSTvMode::serviceMode>(1),
    };
};
} // namespace CIM::protocol
