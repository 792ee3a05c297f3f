#include <ciapi/CICAMPlayerDataType.h>

#include "marshalling/MarshalableString.h"
#include "PushTree.h"

#include <atomic>
#include <cstdint>

namespace CIM
{
namespace
{
constexpr std::uint16_t INVALID_IDENTIFIER = 0xFFFF;
}

TSCICAMPlayerHandle::TSCICAMPlayerHandle(unsigned short identifier) : identifier(identifier) {}

TSCICAMPlayerHandle TSCICAMPlayerHandle::Create()
{
    static std::atomic<std::uint16_t> next{0};
    std::uint16_t identifier = next.fetch_add(1);
    if (identifier == INVALID_IDENTIFIER)
    {
        identifier = next.fetch_add(1);
    }
    return TSCICAMPlayerHandle(identifier);
}

CIM_DEFINE_TREE_OPERATIONS(TSCICAMPlayerHandle)

bool TSCICAMPlayerHandle::IsValid() const { return identifier < INVALID_IDENTIFIER; }
TSCICAMPlayerHandle::operator unsigned short() const { return identifier; }
bool TSCICAMPlayerHandle::operator==(const TSCICAMPlayerHandle& other) const
{
    return protocol::EqualMembers(*this, other);
}
bool TSCICAMPlayerHandle::operator!=(const TSCICAMPlayerHandle& other) const { return !(*this == other); }
bool TSCICAMPlayerHandle::operator<(const TSCICAMPlayerHandle& other) const { return identifier < other.identifier; }

std::string TSCICAMPlayerHandle::ToString() const
{
    return "CICAMPlayerHandle[" + (IsValid() ? std::to_string(identifier) : "INVALID") + "]";
}

TSPlaybackSpeed::TSPlaybackSpeed(short const& hundredths) : hundredths(hundredths) {}

CIM_DEFINE_TREE_OPERATIONS(TSPlaybackSpeed)

unsigned short TSPlaybackSpeed::HundrethsOfNominal() const { return static_cast<unsigned short>(hundredths); }

TSPlaybackPosition::TSPlaybackPosition(ESeekMode const& seekMode, int position) : seekMode(seekMode), position(position)
{
}

CIM_DEFINE_TREE_OPERATIONS(TSPlaybackPosition)

TSPlaybackPosition::ESeekMode TSPlaybackPosition::GetSeekMode() const { return seekMode; }
int TSPlaybackPosition::GetPosition() const { return position; }

std::string TSPlaybackPosition::ToString() const
{
    return std::to_string(position) + " " + (position == -1 ? "(jump to live) " : "") +
           (seekMode == SEEK_MODE_ABSOLUTE ? "absolute" : "relative");
}

TSIPServiceLocationData::TSIPServiceLocationData(std::string const& location) : location(location) {}

CIM_DEFINE_TREE_OPERATIONS(TSIPServiceLocationData)

bool TSIPServiceLocationData::operator==(const TSIPServiceLocationData& other) const
{
    return protocol::EqualMembers(*this, other);
}
bool TSIPServiceLocationData::operator!=(const TSIPServiceLocationData& other) const { return !(*this == other); }
bool TSIPServiceLocationData::operator<(const TSIPServiceLocationData& other) const
{
    return location < other.location;
}

std::vector<unsigned char> TSIPServiceLocationData::ToRawData() const { return {location.begin(), location.end()}; }
std::string TSIPServiceLocationData::ToString() const { return location; }

std::string ToString(const TSPlaybackSpeed& speed)
{
    const unsigned short hundredths = speed.HundrethsOfNominal();
    return std::to_string(hundredths) + " " + (hundredths == 0 ? "(pause) " : "") + " hundreths of the nominal speed";
}

std::string ToString(const TSCICAMPlayerHandle& handle) { return handle.ToString(); }
std::string ToString(const TSPlaybackPosition& position) { return position.ToString(); }
std::string ToString(const TSIPServiceLocationData& location) { return location.ToString(); }
} // namespace CIM
