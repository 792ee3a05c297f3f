#include <ciapi/CISampleDecryptionDataType.h>

#include "PushTree.h"

#include <algorithm>

namespace CIM
{
namespace
{
constexpr unsigned short INVALID_SYSTEM_ID = 0xFFFF;
}

TSDRMSystemId::TSDRMSystemId(unsigned short systemId) : systemId(systemId) {}

CIM_DEFINE_TREE_OPERATIONS(TSDRMSystemId)

bool TSDRMSystemId::IsValid() const { return systemId < INVALID_SYSTEM_ID; }
TSDRMSystemId::operator unsigned short const&() const { return systemId; }
bool TSDRMSystemId::operator==(const TSDRMSystemId& other) const { return protocol::EqualMembers(*this, other); }
bool TSDRMSystemId::operator!=(const TSDRMSystemId& other) const { return !(*this == other); }
bool TSDRMSystemId::operator<(const TSDRMSystemId& other) const { return systemId < other.systemId; }

TSDRMUuid::TSDRMUuid() : TSDRMUuid(UUID_INVALID) {}

TSDRMUuid::TSDRMUuid(const std::vector<unsigned char>& bytes)
    : uuid(bytes.size() == UUID_INVALID.size() ? bytes
                                               : std::vector<unsigned char>(UUID_INVALID.begin(), UUID_INVALID.end()))
{
}

TSDRMUuid::TSDRMUuid(const std::array<unsigned char, 16>& bytes) : uuid(bytes.begin(), bytes.end()) {}

CIM_DEFINE_TREE_OPERATIONS(TSDRMUuid)

bool TSDRMUuid::IsValid() const
{
    return uuid.size() == UUID_INVALID.size() && !std::equal(uuid.begin(), uuid.end(), UUID_INVALID.begin());
}
bool TSDRMUuid::operator==(const TSDRMUuid& other) const { return protocol::EqualMembers(*this, other); }
bool TSDRMUuid::operator!=(const TSDRMUuid& other) const { return !(*this == other); }
bool TSDRMUuid::operator<(const TSDRMUuid& other) const { return uuid < other.uuid; }

TSDRMMetadataRecord::TSDRMMetadataRecord(EDRMMetadataSource source, const TSDRMSystemId& systemId,
                                         const TSDRMUuid& uuid, const std::vector<unsigned char>& metadata)
    : source(source), systemId(systemId), uuid(uuid), metadata(metadata)
{
}

CIM_DEFINE_TREE_OPERATIONS(TSDRMMetadataRecord)

bool TSDRMMetadataRecord::operator==(const TSDRMMetadataRecord& other) const
{
    return protocol::EqualMembers(*this, other);
}
bool TSDRMMetadataRecord::operator!=(const TSDRMMetadataRecord& other) const { return !(*this == other); }

TSSampleTrackNonTSFormat::TSSampleTrackNonTSFormat(unsigned short trackPid,
                                                   const std::vector<TSDRMMetadataRecord>& drmRecords)
    : trackPid(trackPid), drmRecords(drmRecords)
{
}

CIM_DEFINE_TREE_OPERATIONS(TSSampleTrackNonTSFormat)

bool TSSampleTrackNonTSFormat::operator==(const TSSampleTrackNonTSFormat& other) const
{
    return protocol::EqualMembers(*this, other);
}
bool TSSampleTrackNonTSFormat::operator!=(const TSSampleTrackNonTSFormat& other) const { return !(*this == other); }

TSDRMSystemsData::TSDRMSystemsData(const std::set<TSDRMSystemId>& drmSystemIds, const std::set<TSDRMUuid>& drmUuids)
    : drmSystemIds(drmSystemIds), drmUuids(drmUuids)
{
}

CIM_DEFINE_TREE_OPERATIONS(TSDRMSystemsData)

bool TSDRMSystemsData::operator==(const TSDRMSystemsData& other) const { return protocol::EqualMembers(*this, other); }
bool TSDRMSystemsData::operator!=(const TSDRMSystemsData& other) const { return !(*this == other); }

bool TSSampleDecryptionStatus::operator==(const TSSampleDecryptionStatus& other) const
{
    return protocol::EqualMembers(*this, other);
}
bool TSSampleDecryptionStatus::operator!=(const TSSampleDecryptionStatus& other) const { return !(*this == other); }
} // namespace CIM
