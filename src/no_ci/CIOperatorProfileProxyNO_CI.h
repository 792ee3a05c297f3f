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
        std::map<unsigned char, std::map<EAntennaMode, std::basic_string<unsigned short>>>& profiles) override;
    int GetNotInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>& profiles) override;
    int GetInstalledOperatorProfileModesPerServiceMode(
        EServiceMode serviceMode, std::map<TSTvMode, std::basic_string<unsigned short>>& modes) override;
    int GetInstalledOperatorProfiles(std::map<TSTvMode, std::basic_string<unsigned short>>& profiles) override;
    int GetInstalledOperatorProfileModesCiSlots(std::map<TSTvMode, unsigned char>& slots) override;
    int GetInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>& profiles) override;
    int StartOperatorProfileInstallation(EProfile profile, int param, unsigned char slot,
                                         TSTvMode const& tvMode) override;
    int StartOperatorProfileInstallation(EOperatorProfileInstallationOrigin origin, unsigned char slot,
                                         EOperatorProfileStartInstallationStatus& status) override;
    int UpdateOperatorProfile(unsigned char slot) override;
    int SetOperatorProfileInstallationState(unsigned char slot, EOperatorProfileInstallationOrigin origin,
                                            bool oneWay) override;
    int GetOperatorProfileInstallationState(unsigned char slot, EOperatorProfileInstallationOrigin& origin) override;
    int GetOperatorProfileInstallationOrigin(unsigned char slot, EOperatorProfileInstallationOrigin& origin) override;
    int RemoveOperatorProfile(TSTvMode const& tvMode, bool oneWay) override;
    int GetOperatorProfileContentLabel(TSTvMode const& tvMode, unsigned char slot, unsigned char labelIndex,
                                       std::basic_string<unsigned short>& label) override;
};
} // namespace CIM
