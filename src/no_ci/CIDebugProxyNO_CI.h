#pragma once

#include <ciapi/ICIDebug.h>

namespace CIM
{
/// What ICIDebug answers on a set without CI, and what its proxy answers when the daemon does not: no, at once, without
/// touching outputs, except where the interface says otherwise. The daemon's log is off. Stateless; thread-safe.
class TCCIDebugProxyNO_CI : public ICIDebug
{
public:
    TCCIDebugProxyNO_CI();
    ~TCCIDebugProxyNO_CI() override;

    int PrintStatus() override { return 0; }
    int ClearDescramblingHistory() override { return 0; }
    int ResetPcmcia(unsigned char) override { return 0; }
    int ResetCertificateDataInEeprom() override { return 0; }
    int ResetCertificateDataInSecureStorage() override { return 0; }
    int SetTransportStreamRouteMode(unsigned char, bool) override { return 0; }
    int GetTransportStreamRouteMode(unsigned char, bool&) override { return 0; }
    int RestartCIMManager() override { return 0; }
    int FactoryReset() override { return 0; }
    int DebugTunePreparation(bool) override { return 0; }
    int DebugTunePreparationAck(bool) override { return 0; }
    int IsTunerLockedByCI(bool&) override { return 0; }
    int OPClearSchedule() override { return 0; }
    int OPRegisterSchedule(unsigned int) override { return 0; }
    int OPPrintBootupReason() override { return 0; }
    int StartOperatorProfileInstallation() override { return 0; }
    int RemoveAllOperatorProfiles() override { return 0; }
    int PrintCIServiceProtectionDatabase() override { return 0; }
    int ClearCIServiceProtectionDatabase() override { return 0; }
    int GetSlotsCount(unsigned char&) override { return 0; }
    int RunMSPUCommand(unsigned char, ECIDebugMSPUCommand, unsigned char, unsigned short) override { return 0; }
    int DisableCAM(bool) override { return 0; }
    int TransferCertifcateDataFromEepromToSecureStorage() override { return 0; }
    int CILogToggle(bool& enabled) override
    {
        enabled = false;
        return 0;
    }
};
} // namespace CIM
