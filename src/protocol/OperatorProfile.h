#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINames.h>
#include <ciapi/ICIOperatorProfile.h>

// What crosses the bus for ICIOperatorProfile: one line an operation, in slot order.
// The identifiers 4 and 5 stand the other way round than the slots.

namespace CIM::protocol
{
namespace operatorProfile
{
// clang-format off
inline constexpr auto NotInstalledNames = Operation(Overload<int(std::map<unsigned char, std::map<EAntennaMode, std::basic_string<unsigned short>>>&)>(&ICIOperatorProfile::GetNotInstalledOperatorProfiles), 0, "GetNotInstalledOperatorProfiles", Out("profiles"));
inline constexpr auto NotInstalledList = Operation(Overload<int(std::list<TSCIOperatorProfileData>&)>(&ICIOperatorProfile::GetNotInstalledOperatorProfiles), 1, "GetNotInstalledOperatorProfiles", Out("profiles"));
inline constexpr auto GetInstalledOperatorProfileModesPerServiceMode = Operation(&ICIOperatorProfile::GetInstalledOperatorProfileModesPerServiceMode, 2, "GetInstalledOperatorProfileModesPerServiceMode", In("serviceMode"), Out("modes"));
inline constexpr auto InstalledNames = Operation(Overload<int(std::map<TSTvMode, std::basic_string<unsigned short>>&)>(&ICIOperatorProfile::GetInstalledOperatorProfiles), 3, "GetInstalledOperatorProfiles", Out("profiles"));
inline constexpr auto GetInstalledOperatorProfileModesCiSlots = Operation(&ICIOperatorProfile::GetInstalledOperatorProfileModesCiSlots, 5, "GetInstalledOperatorProfileModesCiSlots", Out("slots"));
inline constexpr auto InstalledList = Operation(Overload<int(std::list<TSCIOperatorProfileData>&)>(&ICIOperatorProfile::GetInstalledOperatorProfiles), 4, "GetInstalledOperatorProfiles", Out("profiles"));
inline constexpr auto StartInstallationOfMode = Operation(Overload<int(EProfile, int, unsigned char, TSTvMode const&)>(&ICIOperatorProfile::StartOperatorProfileInstallation), 6, "StartOperatorProfileInstallation", In("profile"), In("param"), In("slot"), In("tvMode"));
inline constexpr auto StartInstallationFromOrigin = Operation(Overload<int(EOperatorProfileInstallationOrigin, unsigned char, EOperatorProfileStartInstallationStatus&)>(&ICIOperatorProfile::StartOperatorProfileInstallation), 7, "StartOperatorProfileInstallation", In("origin"), In("slot"), Out("status"));
inline constexpr auto UpdateOperatorProfile = Operation(&ICIOperatorProfile::UpdateOperatorProfile, 8, "UpdateOperatorProfile", In("slot"));
inline constexpr auto SetOperatorProfileInstallationState = Operation(&ICIOperatorProfile::SetOperatorProfileInstallationState, 9, "SetOperatorProfileInstallationState", In("slot"), In("origin"), OneWay());
inline constexpr auto GetOperatorProfileInstallationState = Operation(&ICIOperatorProfile::GetOperatorProfileInstallationState, 10, "GetOperatorProfileInstallationState", In("slot"), Out("origin"));
inline constexpr auto GetOperatorProfileInstallationOrigin = Operation(&ICIOperatorProfile::GetOperatorProfileInstallationOrigin, 11, "GetOperatorProfileInstallationOrigin", In("slot"), Out("origin"));
inline constexpr auto RemoveOperatorProfile = Operation(&ICIOperatorProfile::RemoveOperatorProfile, 12, "RemoveOperatorProfile", In("tvMode"), OneWay());
inline constexpr auto GetOperatorProfileContentLabel = Operation(&ICIOperatorProfile::GetOperatorProfileContentLabel, 13, "GetOperatorProfileContentLabel", In("tvMode"), In("slot"), In("labelIndex"), Out("label"));
// clang-format on

inline constexpr auto OPERATIONS = std::tuple(
    NotInstalledNames, NotInstalledList, GetInstalledOperatorProfileModesPerServiceMode, InstalledNames,
    GetInstalledOperatorProfileModesCiSlots, InstalledList, StartInstallationOfMode, StartInstallationFromOrigin,
    UpdateOperatorProfile, SetOperatorProfileInstallationState, GetOperatorProfileInstallationState,
    GetOperatorProfileInstallationOrigin, RemoveOperatorProfile, GetOperatorProfileContentLabel);
} // namespace operatorProfile

template <>
struct TTable<ICIOperatorProfile>
{
    static constexpr const char* NAME = "ICIOperatorProfile";
    static const std::string& ConnectionName() { return CI_OPERATOR_PROFILE_CONNECTION_NAME; }
    static constexpr const auto& OPERATIONS = operatorProfile::OPERATIONS;
};
} // namespace CIM::protocol
