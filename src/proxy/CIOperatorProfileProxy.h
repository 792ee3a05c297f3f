#pragma once

#include "no_ci/CIOperatorProfileProxyNO_CI.h"
#include "protocol/OperatorProfile.h"
#include "proxy/ProxyCall.h"

namespace CIM
{
/// ICIOperatorProfile over the bus: each operation is one call to the daemon, and the null answer when that fails.
/// Thread-safe: it keeps nothing between calls.
class TCCIOperatorProfileProxy : public TCCIOperatorProfileProxyNO_CI
{
public:
    /// Blocks until the daemon offers the interface, at the longest as long as the connection waits.
    explicit TCCIOperatorProfileProxy(boost::shared_ptr<TIIPCHelper> helper);
    ~TCCIOperatorProfileProxy() override;

    int GetNotInstalledOperatorProfiles(
        std::map<unsigned char, std::map<EAntennaMode, std::basic_string<unsigned short>>>& profiles) override
    {
        return m_call.Do<Taking<TNamesPerSlot&>(&I::GetNotInstalledOperatorProfiles)>(profiles).Or(
            [&] { return TNull::GetNotInstalledOperatorProfiles(profiles); });
    }
    int GetNotInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>& profiles) override
    {
        return m_call.Do<Taking<TCProfiles&>(&I::GetNotInstalledOperatorProfiles)>(profiles).Or(
            [&] { return TNull::GetNotInstalledOperatorProfiles(profiles); });
    }
    int GetInstalledOperatorProfileModesPerServiceMode(
        EServiceMode serviceMode, std::map<TSTvMode, std::basic_string<unsigned short>>& modes) override
    {
        return m_call.Do<&I::GetInstalledOperatorProfileModesPerServiceMode>(serviceMode, modes)
            .Or([&] { return TNull::GetInstalledOperatorProfileModesPerServiceMode(serviceMode, modes); });
    }
    int GetInstalledOperatorProfiles(std::map<TSTvMode, std::basic_string<unsigned short>>& profiles) override
    {
        return m_call.Do<Taking<TNames&>(&I::GetInstalledOperatorProfiles)>(profiles).Or(
            [&] { return TNull::GetInstalledOperatorProfiles(profiles); });
    }
    int GetInstalledOperatorProfileModesCiSlots(std::map<TSTvMode, unsigned char>& slots) override
    {
        return m_call.Do<&I::GetInstalledOperatorProfileModesCiSlots>(slots).Or(
            [&] { return TNull::GetInstalledOperatorProfileModesCiSlots(slots); });
    }
    int GetInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>& profiles) override
    {
        return m_call.Do<Taking<TCProfiles&>(&I::GetInstalledOperatorProfiles)>(profiles).Or(
            [&] { return TNull::GetInstalledOperatorProfiles(profiles); });
    }
    int StartOperatorProfileInstallation(EProfile profile, int param, unsigned char slot,
                                         TSTvMode const& tvMode) override
    {
        return m_call.Do<Taking<EProfile>(&I::StartOperatorProfileInstallation)>(profile, param, slot, tvMode)
            .Or([&] { return TNull::StartOperatorProfileInstallation(profile, param, slot, tvMode); });
    }
    int StartOperatorProfileInstallation(EOperatorProfileInstallationOrigin origin, unsigned char slot,
                                         EOperatorProfileStartInstallationStatus& status) override
    {
        return m_call
            .Do<Taking<EOperatorProfileInstallationOrigin>(&I::StartOperatorProfileInstallation)>(origin, slot, status)
            .Or([&] { return TNull::StartOperatorProfileInstallation(origin, slot, status); });
    }
    int UpdateOperatorProfile(unsigned char slot) override
    {
        return m_call.Do<&I::UpdateOperatorProfile>(slot).Or([&] { return TNull::UpdateOperatorProfile(slot); });
    }
    int SetOperatorProfileInstallationState(unsigned char slot, EOperatorProfileInstallationOrigin origin,
                                            bool oneWay) override
    {
        return m_call.Do<&I::SetOperatorProfileInstallationState>(slot, origin, oneWay)
            .Or([&] { return TNull::SetOperatorProfileInstallationState(slot, origin, oneWay); });
    }
    int GetOperatorProfileInstallationState(unsigned char slot, EOperatorProfileInstallationOrigin& origin) override
    {
        return m_call.Do<&I::GetOperatorProfileInstallationState>(slot, origin)
            .Or([&] { return TNull::GetOperatorProfileInstallationState(slot, origin); });
    }
    int GetOperatorProfileInstallationOrigin(unsigned char slot, EOperatorProfileInstallationOrigin& origin) override
    {
        return m_call.Do<&I::GetOperatorProfileInstallationOrigin>(slot, origin)
            .Or([&] { return TNull::GetOperatorProfileInstallationOrigin(slot, origin); });
    }
    int RemoveOperatorProfile(TSTvMode const& tvMode, bool oneWay) override
    {
        return m_call.Do<&I::RemoveOperatorProfile>(tvMode, oneWay)
            .Or([&] { return TNull::RemoveOperatorProfile(tvMode, oneWay); });
    }
    int GetOperatorProfileContentLabel(TSTvMode const& tvMode, unsigned char slot, unsigned char labelIndex,
                                       std::basic_string<unsigned short>& label) override
    {
        return m_call.Do<&I::GetOperatorProfileContentLabel>(tvMode, slot, labelIndex, label)
            .Or([&] { return TNull::GetOperatorProfileContentLabel(tvMode, slot, labelIndex, label); });
    }

private:
    using I = ICIOperatorProfile;
    using TNamesPerSlot = std::map<unsigned char, std::map<EAntennaMode, std::basic_string<unsigned short>>>;
    using TNames = std::map<TSTvMode, std::basic_string<unsigned short>>;
    using TCProfiles = std::list<TSCIOperatorProfileData>;
    using TNull = TCCIOperatorProfileProxyNO_CI;

    TCProxyCall m_call;
};
} // namespace CIM
