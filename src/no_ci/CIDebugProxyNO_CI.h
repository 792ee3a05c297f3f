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

    int PrintStatus() override;
    int ClearDescramblingHistory() override;
    int ResetPcmcia(unsigned char slot) override;
    int ResetCertificateDataInEeprom() override;
    int ResetCertificateDataInSecureStorage() override;
    int SetTransportStreamRouteMode(unsigned char slot, bool through) override;
    int GetTransportStreamRouteMode(unsigned char slot, bool& through) override;
    int RestartCIMManager() override;
    int FactoryReset() override;
    int DebugTunePreparation(bool enable) override;
    int DebugTunePreparationAck(bool ack) override;
    int IsTunerLockedByCI(bool& locked) override;
    int OPClearSchedule() override;
    int OPRegisterSchedule(unsigned int schedule) override;
    int OPPrintBootupReason() override;
    int StartOperatorProfileInstallation() override;
    int RemoveAllOperatorProfiles() override;
    int PrintCIServiceProtectionDatabase() override;
    int ClearCIServiceProtectionDatabase() override;
    int GetSlotsCount(unsigned char& count) override;
    int RunMSPUCommand(unsigned char slot, ECIDebugMSPUCommand command, unsigned char param,
                       unsigned short ltsId) override;
    int DisableCAM(bool disable) override;
    int TransferCertifcateDataFromEepromToSecureStorage() override;
    int CILogToggle(bool& enabled) override;
};
} // namespace CIM
