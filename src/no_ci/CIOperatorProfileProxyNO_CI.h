#pragma once

#include <ciapi/ICIOperatorProfile.h>

namespace CIM
{
/// What ICIOperatorProfile answers on a set without CI, and what its proxy answers when the daemon does not: no, at
/// once, without touching outputs, except where the interface says otherwise. Stateless; thread-safe.
class TCCIOperatorProfileProxyNO_CI : public ICIOperatorProfile
{
public:
    TCCIOperatorProfileProxyNO_CI();
    ~TCCIOperatorProfileProxyNO_CI() override;

    int GetNotInstalledOperatorProfiles(
        std::map<unsigned char, std::map<EAntennaMode, std::basic_string<unsigned short>>>&) override
    {
        return 0;
    }
    int GetNotInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>&) override { return 0; }
    int GetInstalledOperatorProfileModesPerServiceMode(EServiceMode,
                                                       std::map<TSTvMode, std::basic_string<unsigned short>>&) override
    {
        return 0;
    }
    int GetInstalledOperatorProfiles(std::map<TSTvMode, std::basic_string<unsigned short>>&) override { return 0; }
    int GetInstalledOperatorProfileModesCiSlots(std::map<TSTvMode, unsigned char>&) override { return 0; }
    int GetInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>&) override { return 0; }
    int StartOperatorProfileInstallation(EProfile, int, unsigned char, TSTvMode const&) override { return 0; }
    int StartOperatorProfileInstallation(EOperatorProfileInstallationOrigin, unsigned char,
                                         EOperatorProfileStartInstallationStatus&) override
    {
        return 0;
    }
    int UpdateOperatorProfile(unsigned char) override { return 0; }
    int SetOperatorProfileInstallationState(unsigned char, EOperatorProfileInstallationOrigin, bool) override
    {
        return 0;
    }
    int GetOperatorProfileInstallationState(unsigned char, EOperatorProfileInstallationOrigin&) override { return 0; }
    int GetOperatorProfileInstallationOrigin(unsigned char, EOperatorProfileInstallationOrigin&) override { return 0; }
    int RemoveOperatorProfile(TSTvMode const&, bool) override { return 0; }
    int GetOperatorProfileContentLabel(TSTvMode const&, unsigned char, unsigned char,
                                       std::basic_string<unsigned short>&) override
    {
        return 0;
    }
};
} // namespace CIM
