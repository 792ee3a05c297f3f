#pragma once

#include "no_ci/CIOperatorProfileProxyNO_CI.h"
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

private:
    TCProxyCall m_call;
};
} // namespace CIM
