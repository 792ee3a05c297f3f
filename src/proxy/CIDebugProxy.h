#pragma once

#include "no_ci/CIDebugProxyNO_CI.h"
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

private:
    TCProxyCall m_call;
};
} // namespace CIM
