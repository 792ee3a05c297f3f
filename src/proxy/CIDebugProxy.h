#pragma once

#include "no_ci/CIDebugProxyNO_CI.h"
#include "protocol/Debug.h"
#include "proxy/ProxyCall.h"

namespace CIM
{
/// ICIDebug over the bus: each operation is one call to the daemon, and the null answer when that fails.
/// Thread-safe: it keeps nothing between calls.
class TCCIDebugProxy : public TCCIDebugProxyNO_CI
{
public:
    /// Blocks until the daemon offers the interface, at the longest as long as the connection waits.
    explicit TCCIDebugProxy(boost::shared_ptr<TIIPCHelper> helper);
    ~TCCIDebugProxy() override;

    int PrintStatus() override
    {
        return m_call.Do<&ICIDebug::PrintStatus>().Or([&] { return TNull::PrintStatus(); });
    }
    int ClearDescramblingHistory() override
    {
        return m_call.Do<&ICIDebug::ClearDescramblingHistory>().Or([&] { return TNull::ClearDescramblingHistory(); });
    }
    int ResetPcmcia(unsigned char slot) override
    {
        return m_call.Do<&ICIDebug::ResetPcmcia>(slot).Or([&] { return TNull::ResetPcmcia(slot); });
    }
    int ResetCertificateDataInEeprom() override
    {
        return m_call.Do<&ICIDebug::ResetCertificateDataInEeprom>().Or(
            [&] { return TNull::ResetCertificateDataInEeprom(); });
    }
    int ResetCertificateDataInSecureStorage() override
    {
        return m_call.Do<&ICIDebug::ResetCertificateDataInSecureStorage>().Or(
            [&] { return TNull::ResetCertificateDataInSecureStorage(); });
    }
    int SetTransportStreamRouteMode(unsigned char slot, bool through) override
    {
        return m_call.Do<&ICIDebug::SetTransportStreamRouteMode>(slot, through)
            .Or([&] { return TNull::SetTransportStreamRouteMode(slot, through); });
    }
    int GetTransportStreamRouteMode(unsigned char slot, bool& through) override
    {
        return m_call.Do<&ICIDebug::GetTransportStreamRouteMode>(slot, through)
            .Or([&] { return TNull::GetTransportStreamRouteMode(slot, through); });
    }
    int RestartCIMManager() override
    {
        return m_call.Do<&ICIDebug::RestartCIMManager>().Or([&] { return TNull::RestartCIMManager(); });
    }
    int FactoryReset() override
    {
        return m_call.Do<&ICIDebug::FactoryReset>().Or([&] { return TNull::FactoryReset(); });
    }
    int DebugTunePreparation(bool enable) override
    {
        return m_call.Do<&ICIDebug::DebugTunePreparation>(enable).Or([&]
                                                                     { return TNull::DebugTunePreparation(enable); });
    }
    int DebugTunePreparationAck(bool ack) override
    {
        return m_call.Do<&ICIDebug::DebugTunePreparationAck>(ack).Or([&]
                                                                     { return TNull::DebugTunePreparationAck(ack); });
    }
    int IsTunerLockedByCI(bool& locked) override
    {
        return m_call.Do<&ICIDebug::IsTunerLockedByCI>(locked).Or([&] { return TNull::IsTunerLockedByCI(locked); });
    }
    int OPClearSchedule() override
    {
        return m_call.Do<&ICIDebug::OPClearSchedule>().Or([&] { return TNull::OPClearSchedule(); });
    }
    int OPRegisterSchedule(unsigned int schedule) override
    {
        return m_call.Do<&ICIDebug::OPRegisterSchedule>(schedule).Or([&]
                                                                     { return TNull::OPRegisterSchedule(schedule); });
    }
    int OPPrintBootupReason() override
    {
        return m_call.Do<&ICIDebug::OPPrintBootupReason>().Or([&] { return TNull::OPPrintBootupReason(); });
    }
    int StartOperatorProfileInstallation() override
    {
        return m_call.Do<&ICIDebug::StartOperatorProfileInstallation>().Or(
            [&] { return TNull::StartOperatorProfileInstallation(); });
    }
    int RemoveAllOperatorProfiles() override
    {
        return m_call.Do<&ICIDebug::RemoveAllOperatorProfiles>().Or([&] { return TNull::RemoveAllOperatorProfiles(); });
    }
    int PrintCIServiceProtectionDatabase() override
    {
        return m_call.Do<&ICIDebug::PrintCIServiceProtectionDatabase>().Or(
            [&] { return TNull::PrintCIServiceProtectionDatabase(); });
    }
    int ClearCIServiceProtectionDatabase() override
    {
        return m_call.Do<&ICIDebug::ClearCIServiceProtectionDatabase>().Or(
            [&] { return TNull::ClearCIServiceProtectionDatabase(); });
    }
    int GetSlotsCount(unsigned char& count) override
    {
        return m_call.Do<&ICIDebug::GetSlotsCount>(count).Or([&] { return TNull::GetSlotsCount(count); });
    }
    int RunMSPUCommand(unsigned char slot, ECIDebugMSPUCommand command, unsigned char param,
                       unsigned short ltsId) override
    {
        return m_call.Do<&ICIDebug::RunMSPUCommand>(slot, command, param, ltsId)
            .Or([&] { return TNull::RunMSPUCommand(slot, command, param, ltsId); });
    }
    int DisableCAM(bool disable) override
    {
        return m_call.Do<&ICIDebug::DisableCAM>(disable).Or([&] { return TNull::DisableCAM(disable); });
    }
    int TransferCertifcateDataFromEepromToSecureStorage() override
    {
        return m_call.Do<&ICIDebug::TransferCertifcateDataFromEepromToSecureStorage>().Or(
            [&] { return TNull::TransferCertifcateDataFromEepromToSecureStorage(); });
    }
    int CILogToggle(bool& enabled) override
    {
        return m_call.Do<&ICIDebug::CILogToggle>(enabled).Or([&] { return TNull::CILogToggle(enabled); });
    }

private:
    using TNull = TCCIDebugProxyNO_CI;

    TCProxyCall m_call;
};
} // namespace CIM
