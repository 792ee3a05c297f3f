#include <ciapi/CIOperatorProfileDataType.h>

#include "marshalling/MarshalableWString.h"
#include "PushTree.h"
#include "utils/CIAPILog.h"

#include <ciapi/CITextUtils.h>

#include <tuple>
#include <utility>

namespace CIM
{
std::string ToString(const EOpProfileType& value)
{
    const std::string_view name = EnumName(value);
    if (name.empty())
    {
        // An error by where it goes, system buffer and twice, but with the text of a normal line.
        for (const int priority : {4, 3})
        {
            ::__dlog_print(2, priority, CIM_LOG_TAG, "%s: %s(%d) > [%ld][%s] Out of scope(%d)", __FILE_NAME__, __func__,
                           __LINE__, GetPid(), GetProgName(), static_cast<int>(value));
        }
    }
    return std::string(name);
}

// The profile type stays unset: users of this constructor are known to assign it.
TSCIOperatorProfileData::TSCIOperatorProfileData() {}

TSCIOperatorProfileData::TSCIOperatorProfileData(EAntennaMode antennaMode, EServiceMode serviceMode,
                                                 unsigned char slotId, std::basic_string<unsigned short> profileName,
                                                 const std::set<EAntennaMode>& supportedAntennaModes,
                                                 EOpProfileType profileType)
    : antennaMode(antennaMode), serviceMode(serviceMode), slotId(slotId), profileName(std::move(profileName)),
      supportedAntennaModes(supportedAntennaModes), profileType(profileType)
{
}

CIM_DEFINE_TREE_OPERATIONS(TSCIOperatorProfileData)

bool TSCIOperatorProfileData::operator==(const TSCIOperatorProfileData& other) const
{
    return protocol::EqualMembers(*this, other);
}

bool TSCIOperatorProfileData::operator!=(const TSCIOperatorProfileData& other) const { return !(*this == other); }

bool TSCIOperatorProfileData::operator<(const TSCIOperatorProfileData& other) const
{
    return std::tie(antennaMode, serviceMode, slotId, profileName) <
           std::tie(other.antennaMode, other.serviceMode, other.slotId, other.profileName);
}

[[gnu::cold]] std::string ToString(const TSCIOperatorProfileData& profile)
{
    std::string text = "antennaMode[ " + ToString(static_cast<int>(profile.antennaMode)) + " ], serviceMode[ " +
                       ToString(static_cast<int>(profile.serviceMode)) + " ], slotId[ " +
                       std::to_string(profile.slotId) + " ], profileName (" +
                       std::to_string(profile.profileName.size()) + " bytes) [ " +
                       TCUnicodeUtils::UnicodeToUtf8(profile.profileName) + " ], supportedAntennaModes ( " +
                       std::to_string(profile.supportedAntennaModes.size()) + " antenna modes ) [ ";
    for (const EAntennaMode mode : profile.supportedAntennaModes)
    {
        text += ToString(static_cast<int>(mode)) + ", ";
    }
    return text + "], profileType[ " + ToString(profile.profileType) + " ]";
}
} // namespace CIM
