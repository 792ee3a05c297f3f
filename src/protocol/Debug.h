#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINames.h>
#include <ciapi/ICIDebug.h>

// What crosses the bus for ICIDebug: one line an operation, in slot order.

namespace CIM::protocol
{
namespace debug
{
// clang-format off
inline constexpr auto PrintStatus = Operation(&ICIDebug::PrintStatus, 0, "PrintStatus");
inline constexpr auto ClearDescramblingHistory = Operation(&ICIDebug::ClearDescramblingHistory, 1, "ClearDescramblingHistory");
inline constexpr auto ResetPcmcia = Operation(&ICIDebug::ResetPcmcia, 2, "ResetPcmcia", In("slot"));
inline constexpr auto ResetCertificateDataInEeprom = Operation(&ICIDebug::ResetCertificateDataInEeprom, 3, "ResetCertificateDataInEeprom");
inline constexpr auto ResetCertificateDataInSecureStorage = Operation(&ICIDebug::ResetCertificateDataInSecureStorage, 4, "ResetCertificateDataInSecureStorage");
inline constexpr auto SetTransportStreamRouteMode = Operation(&ICIDebug::SetTransportStreamRouteMode, 5, "SetTransportStreamRouteMode", In("slot"), In("through"));
inline constexpr auto GetTransportStreamRouteMode = Operation(&ICIDebug::GetTransportStreamRouteMode, 6, "GetTransportStreamRouteMode", In("slot"), Out("through"));
inline constexpr auto RestartCIMManager = Operation(&ICIDebug::RestartCIMManager, 7, "RestartCIMManager");
inline constexpr auto FactoryReset = Operation(&ICIDebug::FactoryReset, 8, "FactoryReset");
inline constexpr auto DebugTunePreparation = Operation(&ICIDebug::DebugTunePreparation, 9, "DebugTunePreparation", In("enable"));
inline constexpr auto DebugTunePreparationAck = Operation(&ICIDebug::DebugTunePreparationAck, 10, "DebugTunePreparationAck", In("ack"));
inline constexpr auto IsTunerLockedByCI = Operation(&ICIDebug::IsTunerLockedByCI, 11, "IsTunerLockedByCI", Out("locked"));
inline constexpr auto OPClearSchedule = Operation(&ICIDebug::OPClearSchedule, 12, "OPClearSchedule");
inline constexpr auto OPRegisterSchedule = Operation(&ICIDebug::OPRegisterSchedule, 13, "OPRegisterSchedule", In("schedule"));
inline constexpr auto OPPrintBootupReason = Operation(&ICIDebug::OPPrintBootupReason, 14, "OPPrintBootupReason");
inline constexpr auto StartOperatorProfileInstallation = Operation(&ICIDebug::StartOperatorProfileInstallation, 15, "StartOperatorProfileInstallation");
inline constexpr auto RemoveAllOperatorProfiles = Operation(&ICIDebug::RemoveAllOperatorProfiles, 16, "RemoveAllOperatorProfiles");
inline constexpr auto PrintCIServiceProtectionDatabase = Operation(&ICIDebug::PrintCIServiceProtectionDatabase, 17, "PrintCIServiceProtectionDatabase");
inline constexpr auto ClearCIServiceProtectionDatabase = Operation(&ICIDebug::ClearCIServiceProtectionDatabase, 18, "ClearCIServiceProtectionDatabase");
inline constexpr auto GetSlotsCount = Operation(&ICIDebug::GetSlotsCount, 19, "GetSlotsCount", Out("count"));
inline constexpr auto RunMSPUCommand = Operation(&ICIDebug::RunMSPUCommand, 20, "RunMSPUCommand", In("slot"), In("command"), In("param"), In("ltsId"));
inline constexpr auto DisableCAM = Operation(&ICIDebug::DisableCAM, 21, "DisableCAM", In("disable"));
inline constexpr auto TransferCertifcateDataFromEepromToSecureStorage = Operation(&ICIDebug::TransferCertifcateDataFromEepromToSecureStorage, 22, "TransferCertifcateDataFromEepromToSecureStorage");
inline constexpr auto CILogToggle = Operation(&ICIDebug::CILogToggle, 23, "CILogToggle", InOut("enabled"));
// clang-format on

inline constexpr auto OPERATIONS =
    std::tuple(PrintStatus, ClearDescramblingHistory, ResetPcmcia, ResetCertificateDataInEeprom,
               ResetCertificateDataInSecureStorage, SetTransportStreamRouteMode, GetTransportStreamRouteMode,
               RestartCIMManager, FactoryReset, DebugTunePreparation, DebugTunePreparationAck, IsTunerLockedByCI,
               OPClearSchedule, OPRegisterSchedule, OPPrintBootupReason, StartOperatorProfileInstallation,
               RemoveAllOperatorProfiles, PrintCIServiceProtectionDatabase, ClearCIServiceProtectionDatabase,
               GetSlotsCount, RunMSPUCommand, DisableCAM, TransferCertifcateDataFromEepromToSecureStorage, CILogToggle);
} // namespace debug

template <>
struct TTable<ICIDebug>
{
    static constexpr const char* NAME = "ICIDebug";
    static const std::string& ConnectionName() { return CI_DEBUG_CONNECTION_NAME; }
    static constexpr const auto& OPERATIONS = debug::OPERATIONS;
};
} // namespace CIM::protocol
