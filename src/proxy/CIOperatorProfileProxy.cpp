#include "proxy/CIOperatorProfileProxy.h"

#include "protocol/OperatorProfile.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCCIOperatorProfileProxy::TCCIOperatorProfileProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<ICIOperatorProfile>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCCIOperatorProfileProxy", __LINE__, "");
    m_call.WaitForInterface();
}

TCCIOperatorProfileProxy::~TCCIOperatorProfileProxy() { CIM_LOG_INFO_AT("~TCCIOperatorProfileProxy", __LINE__, ""); }

int TCCIOperatorProfileProxy::GetNotInstalledOperatorProfiles(
    std::map<unsigned char, std::map<EAntennaMode, std::basic_string<unsigned short>>>& profiles)
{
    if (const auto reply = m_call(protocol::operatorProfile::NotInstalledNames, profiles))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::GetNotInstalledOperatorProfiles(profiles);
}

int TCCIOperatorProfileProxy::GetNotInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>& profiles)
{
    if (const auto reply = m_call(protocol::operatorProfile::NotInstalledList, profiles))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::GetNotInstalledOperatorProfiles(profiles);
}

int TCCIOperatorProfileProxy::GetInstalledOperatorProfileModesPerServiceMode(
    EServiceMode serviceMode, std::map<TSTvMode, std::basic_string<unsigned short>>& modes)
{
    if (const auto reply =
            m_call(protocol::operatorProfile::GetInstalledOperatorProfileModesPerServiceMode, serviceMode, modes))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::GetInstalledOperatorProfileModesPerServiceMode(serviceMode, modes);
}

int TCCIOperatorProfileProxy::GetInstalledOperatorProfiles(
    std::map<TSTvMode, std::basic_string<unsigned short>>& profiles)
{
    if (const auto reply = m_call(protocol::operatorProfile::InstalledNames, profiles))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::GetInstalledOperatorProfiles(profiles);
}

int TCCIOperatorProfileProxy::GetInstalledOperatorProfileModesCiSlots(std::map<TSTvMode, unsigned char>& slots)
{
    if (const auto reply = m_call(protocol::operatorProfile::GetInstalledOperatorProfileModesCiSlots, slots))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::GetInstalledOperatorProfileModesCiSlots(slots);
}

int TCCIOperatorProfileProxy::GetInstalledOperatorProfiles(std::list<TSCIOperatorProfileData>& profiles)
{
    if (const auto reply = m_call(protocol::operatorProfile::InstalledList, profiles))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::GetInstalledOperatorProfiles(profiles);
}

int TCCIOperatorProfileProxy::StartOperatorProfileInstallation(EProfile profile, int param, unsigned char slot,
                                                               TSTvMode const& tvMode)
{
    if (const auto reply = m_call(protocol::operatorProfile::StartInstallationOfMode, profile, param, slot, tvMode))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::StartOperatorProfileInstallation(profile, param, slot, tvMode);
}

int TCCIOperatorProfileProxy::StartOperatorProfileInstallation(EOperatorProfileInstallationOrigin origin,
                                                               unsigned char slot,
                                                               EOperatorProfileStartInstallationStatus& status)
{
    if (const auto reply = m_call(protocol::operatorProfile::StartInstallationFromOrigin, origin, slot, status))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::StartOperatorProfileInstallation(origin, slot, status);
}

int TCCIOperatorProfileProxy::UpdateOperatorProfile(unsigned char slot)
{
    if (const auto reply = m_call(protocol::operatorProfile::UpdateOperatorProfile, slot))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::UpdateOperatorProfile(slot);
}

int TCCIOperatorProfileProxy::SetOperatorProfileInstallationState(unsigned char slot,
                                                                  EOperatorProfileInstallationOrigin origin,
                                                                  bool oneWay)
{
    if (const auto reply = m_call(protocol::operatorProfile::SetOperatorProfileInstallationState, slot, origin, oneWay))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::SetOperatorProfileInstallationState(slot, origin, oneWay);
}

int TCCIOperatorProfileProxy::GetOperatorProfileInstallationState(unsigned char slot,
                                                                  EOperatorProfileInstallationOrigin& origin)
{
    if (const auto reply = m_call(protocol::operatorProfile::GetOperatorProfileInstallationState, slot, origin))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::GetOperatorProfileInstallationState(slot, origin);
}

int TCCIOperatorProfileProxy::GetOperatorProfileInstallationOrigin(unsigned char slot,
                                                                   EOperatorProfileInstallationOrigin& origin)
{
    if (const auto reply = m_call(protocol::operatorProfile::GetOperatorProfileInstallationOrigin, slot, origin))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::GetOperatorProfileInstallationOrigin(slot, origin);
}

int TCCIOperatorProfileProxy::RemoveOperatorProfile(TSTvMode const& tvMode, bool oneWay)
{
    if (const auto reply = m_call(protocol::operatorProfile::RemoveOperatorProfile, tvMode, oneWay))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::RemoveOperatorProfile(tvMode, oneWay);
}

int TCCIOperatorProfileProxy::GetOperatorProfileContentLabel(TSTvMode const& tvMode, unsigned char slot,
                                                             unsigned char labelIndex,
                                                             std::basic_string<unsigned short>& label)
{
    if (const auto reply =
            m_call(protocol::operatorProfile::GetOperatorProfileContentLabel, tvMode, slot, labelIndex, label))
    {
        return *reply;
    }
    return TCCIOperatorProfileProxyNO_CI::GetOperatorProfileContentLabel(tvMode, slot, labelIndex, label);
}
} // namespace CIM
