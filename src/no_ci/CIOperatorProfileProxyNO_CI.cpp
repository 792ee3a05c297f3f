#include "no_ci/CIOperatorProfileProxyNO_CI.h"

#include "utils/CIAPILog.h"

namespace CIM
{
TCCIOperatorProfileProxyNO_CI::TCCIOperatorProfileProxyNO_CI()
{
    CIM_LOG_INFO_AT("TCCIOperatorProfileProxyNO_CI", 35, "");
}

TCCIOperatorProfileProxyNO_CI::~TCCIOperatorProfileProxyNO_CI()
{
    CIM_LOG_INFO_AT("~TCCIOperatorProfileProxyNO_CI", 42, "");
}

int TCCIOperatorProfileProxyNO_CI::GetNotInstalledOperatorProfiles(
    std::map<unsigned char, std::map<EAntennaMode, std::basic_string<unsigned short>>>&)
{
    return 0;
}

int TCCIOperatorProfileProxyNO_CI::GetNotInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>&) { return 0; }

int TCCIOperatorProfileProxyNO_CI::GetInstalledOperatorProfileModesPerServiceMode(
    EServiceMode, std::map<TSTvMode, std::basic_string<unsigned short>>&)
{
    return 0;
}

int TCCIOperatorProfileProxyNO_CI::GetInstalledOperatorProfiles(std::map<TSTvMode, std::basic_string<unsigned short>>&)
{
    return 0;
}

int TCCIOperatorProfileProxyNO_CI::GetInstalledOperatorProfileModesCiSlots(std::map<TSTvMode, unsigned char>&)
{
    return 0;
}

int TCCIOperatorProfileProxyNO_CI::GetInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>&) { return 0; }

int TCCIOperatorProfileProxyNO_CI::StartOperatorProfileInstallation(EProfile, int, unsigned char, TSTvMode const&)
{
    return 0;
}

int TCCIOperatorProfileProxyNO_CI::StartOperatorProfileInstallation(EOperatorProfileInstallationOrigin, unsigned char,
                                                                    EOperatorProfileStartInstallationStatus&)
{
    return 0;
}

int TCCIOperatorProfileProxyNO_CI::UpdateOperatorProfile(unsigned char) { return 0; }

int TCCIOperatorProfileProxyNO_CI::SetOperatorProfileInstallationState(unsigned char,
                                                                       EOperatorProfileInstallationOrigin, bool)
{
    return 0;
}

int TCCIOperatorProfileProxyNO_CI::GetOperatorProfileInstallationState(unsigned char,
                                                                       EOperatorProfileInstallationOrigin&)
{
    return 0;
}

int TCCIOperatorProfileProxyNO_CI::GetOperatorProfileInstallationOrigin(unsigned char,
                                                                        EOperatorProfileInstallationOrigin&)
{
    return 0;
}

int TCCIOperatorProfileProxyNO_CI::RemoveOperatorProfile(TSTvMode const&, bool) { return 0; }

int TCCIOperatorProfileProxyNO_CI::GetOperatorProfileContentLabel(TSTvMode const&, unsigned char, unsigned char,
                                                                  std::basic_string<unsigned short>&)
{
    return 0;
}
} // namespace CIM
