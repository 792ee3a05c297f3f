#include "no_ci/CIDebugProxyNO_CI.h"

#include "utils/CIAPILog.h"

namespace CIM
{
TCCIDebugProxyNO_CI::TCCIDebugProxyNO_CI() { CIM_LOG_INFO_AT("TCCIDebugProxyNO_CI", 34, ""); }

TCCIDebugProxyNO_CI::~TCCIDebugProxyNO_CI() { CIM_LOG_INFO_AT("~TCCIDebugProxyNO_CI", 41, ""); }

int TCCIDebugProxyNO_CI::PrintStatus() { return 0; }

int TCCIDebugProxyNO_CI::ClearDescramblingHistory() { return 0; }

int TCCIDebugProxyNO_CI::ResetPcmcia(unsigned char) { return 0; }

int TCCIDebugProxyNO_CI::ResetCertificateDataInEeprom() { return 0; }

int TCCIDebugProxyNO_CI::ResetCertificateDataInSecureStorage() { return 0; }

int TCCIDebugProxyNO_CI::SetTransportStreamRouteMode(unsigned char, bool) { return 0; }

int TCCIDebugProxyNO_CI::GetTransportStreamRouteMode(unsigned char, bool&) { return 0; }

int TCCIDebugProxyNO_CI::RestartCIMManager() { return 0; }

int TCCIDebugProxyNO_CI::FactoryReset() { return 0; }

int TCCIDebugProxyNO_CI::DebugTunePreparation(bool) { return 0; }

int TCCIDebugProxyNO_CI::DebugTunePreparationAck(bool) { return 0; }

int TCCIDebugProxyNO_CI::IsTunerLockedByCI(bool&) { return 0; }

int TCCIDebugProxyNO_CI::OPClearSchedule() { return 0; }

int TCCIDebugProxyNO_CI::OPRegisterSchedule(unsigned int) { return 0; }

int TCCIDebugProxyNO_CI::OPPrintBootupReason() { return 0; }

int TCCIDebugProxyNO_CI::StartOperatorProfileInstallation() { return 0; }

int TCCIDebugProxyNO_CI::RemoveAllOperatorProfiles() { return 0; }

int TCCIDebugProxyNO_CI::PrintCIServiceProtectionDatabase() { return 0; }

int TCCIDebugProxyNO_CI::ClearCIServiceProtectionDatabase() { return 0; }

int TCCIDebugProxyNO_CI::GetSlotsCount(unsigned char&) { return 0; }

int TCCIDebugProxyNO_CI::RunMSPUCommand(unsigned char, ECIDebugMSPUCommand, unsigned char, unsigned short) { return 0; }

int TCCIDebugProxyNO_CI::DisableCAM(bool) { return 0; }

int TCCIDebugProxyNO_CI::TransferCertifcateDataFromEepromToSecureStorage() { return 0; }

int TCCIDebugProxyNO_CI::CILogToggle(bool& enabled)
{
    enabled = false;
    return 0;
}
} // namespace CIM
