#include "EnumText.h"

#include <ciapi/CISampleDecryptionDataType.h>
#include <ciapi/CITextUtils.h>

namespace CIM
{
namespace
{
/// "[size=2] [first] [second]"
template <class Container>
std::string ListToString(const Container& elements)
{
    std::string text = "[size=" + std::to_string(elements.size()) + "]";
    for (const auto& element : elements)
    {
        text += " [" + ToString(element) + "]";
    }
    return text;
}
} // namespace

CIM_DEFINE_NUMBERED_TEXT(EDRMMetadataSource)
CIM_DEFINE_NUMBERED_TEXT(ESampleDecryptionTransmissionStatus)
CIM_DEFINE_NUMBERED_TEXT(ESampleDecryptionDRMStatus)

std::string ToString(const TSDRMSystemId& systemId) { return std::to_string(systemId.systemId); }

std::string ToString(const TSDRMUuid& uuid) { return ByteArrayToString(uuid.uuid); }

std::string ToString(const TSDRMMetadataRecord& record)
{
    return "source[" + ToString(record.source) + "] systemId[" + ToString(record.systemId) + "] uuid[" +
           ToString(record.uuid) + "] metadata[" + ByteArrayToString(record.metadata) + "]";
}

std::string ToString(const TSSampleTrackNonTSFormat& track)
{
    return "trackPid[" + std::to_string(track.trackPid) + "] drmRecords[" + ListToString(track.drmRecords) + "]";
}

std::string ToString(const TSDRMSystemsData& systems)
{
    return "drmSystemIds[" + ListToString(systems.drmSystemIds) + "] drmUuids[" + ListToString(systems.drmUuids) + "] ";
}

std::string ToString(const TSSampleDecryptionStatus& status)
{
    return "transmissionStatus[" + NameOrNotSupported(status.transmissionStatus) + "] drmStatus[" +
           NameOrNotSupported(status.drmStatus) + "] drmSystemIds[" + ToString(status.drmSystemId) + "] drmUuid[" +
           ToString(status.drmUuid) + "] bufferSize[" + std::to_string(status.bufferSize) + "] ";
}
} // namespace CIM
