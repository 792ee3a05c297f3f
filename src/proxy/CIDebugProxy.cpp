#include "proxy/CIDebugProxy.h"

#include "protocol/Debug.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCCIDebugProxy::TCCIDebugProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<ICIDebug>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCCIDebugProxy", __LINE__, "");
    m_call.WaitForInterface();
}

TCCIDebugProxy::~TCCIDebugProxy() { CIM_LOG_INFO_AT("~TCCIDebugProxy", __LINE__, ""); }

int TCCIDebugProxy::PrintStatus()
{
    if (const auto reply = m_call(protocol::debug::PrintStatus))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::PrintStatus();
}

int TCCIDebugProxy::ClearDescramblingHistory()
{
    if (const auto reply = m_call(protocol::debug::ClearDescramblingHistory))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::ClearDescramblingHistory();
}

int TCCIDebugProxy::ResetPcmcia(unsigned char slot)
{
    if (const auto reply = m_call(protocol::debug::ResetPcmcia, slot))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::ResetPcmcia(slot);
}

int TCCIDebugProxy::ResetCertificateDataInEeprom()
{
    if (const auto reply = m_call(protocol::debug::ResetCertificateDataInEeprom))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::ResetCertificateDataInEeprom();
}

int TCCIDebugProxy::ResetCertificateDataInSecureStorage()
{
    if (const auto reply = m_call(protocol::debug::ResetCertificateDataInSecureStorage))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::ResetCertificateDataInSecureStorage();
}

int TCCIDebugProxy::SetTransportStreamRouteMode(unsigned char slot, bool through)
{
    if (const auto reply = m_call(protocol::debug::SetTransportStreamRouteMode, slot, through))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::SetTransportStreamRouteMode(slot, through);
}

int TCCIDebugProxy::GetTransportStreamRouteMode(unsigned char slot, bool& through)
{
    if (const auto reply = m_call(protocol::debug::GetTransportStreamRouteMode, slot, through))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::GetTransportStreamRouteMode(slot, through);
}

int TCCIDebugProxy::RestartCIMManager()
{
    if (const auto reply = m_call(protocol::debug::RestartCIMManager))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::RestartCIMManager();
}

int TCCIDebugProxy::FactoryReset()
{
    if (const auto reply = m_call(protocol::debug::FactoryReset))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::FactoryReset();
}

int TCCIDebugProxy::DebugTunePreparation(bool enable)
{
    if (const auto reply = m_call(protocol::debug::DebugTunePreparation, enable))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::DebugTunePreparation(enable);
}

int TCCIDebugProxy::DebugTunePreparationAck(bool ack)
{
    if (const auto reply = m_call(protocol::debug::DebugTunePreparationAck, ack))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::DebugTunePreparationAck(ack);
}

int TCCIDebugProxy::IsTunerLockedByCI(bool& locked)
{
    if (const auto reply = m_call(protocol::debug::IsTunerLockedByCI, locked))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::IsTunerLockedByCI(locked);
}

int TCCIDebugProxy::OPClearSchedule()
{
    if (const auto reply = m_call(protocol::debug::OPClearSchedule))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::OPClearSchedule();
}

int TCCIDebugProxy::OPRegisterSchedule(unsigned int schedule)
{
    if (const auto reply = m_call(protocol::debug::OPRegisterSchedule, schedule))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::OPRegisterSchedule(schedule);
}

int TCCIDebugProxy::OPPrintBootupReason()
{
    if (const auto reply = m_call(protocol::debug::OPPrintBootupReason))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::OPPrintBootupReason();
}

int TCCIDebugProxy::StartOperatorProfileInstallation()
{
    if (const auto reply = m_call(protocol::debug::StartOperatorProfileInstallation))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::StartOperatorProfileInstallation();
}

int TCCIDebugProxy::RemoveAllOperatorProfiles()
{
    if (const auto reply = m_call(protocol::debug::RemoveAllOperatorProfiles))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::RemoveAllOperatorProfiles();
}

int TCCIDebugProxy::PrintCIServiceProtectionDatabase()
{
    if (const auto reply = m_call(protocol::debug::PrintCIServiceProtectionDatabase))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::PrintCIServiceProtectionDatabase();
}

int TCCIDebugProxy::ClearCIServiceProtectionDatabase()
{
    if (const auto reply = m_call(protocol::debug::ClearCIServiceProtectionDatabase))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::ClearCIServiceProtectionDatabase();
}

int TCCIDebugProxy::GetSlotsCount(unsigned char& count)
{
    if (const auto reply = m_call(protocol::debug::GetSlotsCount, count))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::GetSlotsCount(count);
}

int TCCIDebugProxy::RunMSPUCommand(unsigned char slot, ECIDebugMSPUCommand command, unsigned char param,
                                   unsigned short ltsId)
{
    if (const auto reply = m_call(protocol::debug::RunMSPUCommand, slot, command, param, ltsId))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::RunMSPUCommand(slot, command, param, ltsId);
}

int TCCIDebugProxy::DisableCAM(bool disable)
{
    if (const auto reply = m_call(protocol::debug::DisableCAM, disable))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::DisableCAM(disable);
}

int TCCIDebugProxy::TransferCertifcateDataFromEepromToSecureStorage()
{
    if (const auto reply = m_call(protocol::debug::TransferCertifcateDataFromEepromToSecureStorage))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::TransferCertifcateDataFromEepromToSecureStorage();
}

int TCCIDebugProxy::CILogToggle(bool& enabled)
{
    if (const auto reply = m_call(protocol::debug::CILogToggle, enabled))
    {
        return *reply;
    }
    return TCCIDebugProxyNO_CI::CILogToggle(enabled);
}
} // namespace CIM
