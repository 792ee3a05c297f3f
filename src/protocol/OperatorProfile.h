#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINameLiterals.h>
#include <ciapi/ICIOperatorProfile.h>

// What crosses the bus for ICIOperatorProfile: one line an operation, in slot order.
// The identifiers 4 and 5 stand the other way round than the slots.

namespace CIM::protocol
{
template <>
struct TTable<ICIOperatorProfile>
{
    using I = ICIOperatorProfile;
    using TName = std::basic_string<unsigned short>;
    using TNamesPerSlot = std::map<unsigned char, std::map<EAntennaMode, TName>>;
    using TNames = std::map<TSTvMode, TName>;
    using TCProfiles = std::list<TSCIOperatorProfileData>;
    using EOrigin = EOperatorProfileInstallationOrigin;

    static constexpr const char* ConnectionName() { return literals::CI_OPERATOR_PROFILE_CONNECTION_NAME; }

    // clang-format off
    static constexpr std::tuple ROWS{
    Row<Taking<TNamesPerSlot&>(&I::GetNotInstalledOperatorProfiles)>(0, Out("profiles")),
    Row<Taking<TCProfiles&>(&I::GetNotInstalledOperatorProfiles)>(1, Out("profiles")),
    Row<&I::GetInstalledOperatorProfileModesPerServiceMode>(2, In("serviceMode"), Out("modes")),
    Row<Taking<TNames&>(&I::GetInstalledOperatorProfiles)>(3, Out("profiles")),
    Row<&I::GetInstalledOperatorProfileModesCiSlots>(5, Out("slots")),
    Row<Taking<TCProfiles&>(&I::GetInstalledOperatorProfiles)>(4, Out("profiles")),
    Row<Taking<EProfile>(&I::StartOperatorProfileInstallation)>(6, In("profile", "param", "slot", "tvMode")),
    Row<Taking<EOrigin>(&I::StartOperatorProfileInstallation)>(7, In("origin", "slot"), Out("status")),
    Row<&I::UpdateOperatorProfile>(8, In("slot")),
    Row<&I::SetOperatorProfileInstallationState>(9, In("slot", "origin"), OneWay()),
    Row<&I::GetOperatorProfileInstallationState>(10, In("slot"), Out("origin")),
    Row<&I::GetOperatorProfileInstallationOrigin>(11, In("slot"), Out("origin")),
    Row<&I::RemoveOperatorProfile>(12, In("tvMode"), OneWay()),
    Row<&I::GetOperatorProfileContentLabel>(13, In("tvMode", "slot", "labelIndex"), Out("label")),
    };
    // clang-format on
};
} // namespace CIM::protocol
