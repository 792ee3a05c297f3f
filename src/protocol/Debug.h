#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINameLiterals.h>
#include <ciapi/ICIDebug.h>

// What crosses the bus for ICIDebug: one line an operation, in slot order.

namespace CIM::protocol
{
template <>
struct TTable<ICIDebug>
{
    static constexpr const char* ConnectionName() { return literals::CI_DEBUG_CONNECTION_NAME; }

    // clang-format off
    static constexpr std::tuple ROWS{
    Row<&ICIDebug::PrintStatus>(0),
    Row<&ICIDebug::ClearDescramblingHistory>(1),
    Row<&ICIDebug::ResetPcmcia>(2, In("slot")),
    Row<&ICIDebug::ResetCertificateDataInEeprom>(3),
    Row<&ICIDebug::ResetCertificateDataInSecureStorage>(4),
    Row<&ICIDebug::SetTransportStreamRouteMode>(5, In("slot", "through")),
    Row<&ICIDebug::GetTransportStreamRouteMode>(6, In("slot"), Out("through")),
    Row<&ICIDebug::RestartCIMManager>(7),
    Row<&ICIDebug::FactoryReset>(8),
    Row<&ICIDebug::DebugTunePreparation>(9, In("enable")),
    Row<&ICIDebug::DebugTunePreparationAck>(10, In("ack")),
    Row<&ICIDebug::IsTunerLockedByCI>(11, Out("locked")),
    Row<&ICIDebug::OPClearSchedule>(12),
    Row<&ICIDebug::OPRegisterSchedule>(13, In("schedule")),
    Row<&ICIDebug::OPPrintBootupReason>(14),
    Row<&ICIDebug::StartOperatorProfileInstallation>(15),
    Row<&ICIDebug::RemoveAllOperatorProfiles>(16),
    Row<&ICIDebug::PrintCIServiceProtectionDatabase>(17),
    Row<&ICIDebug::ClearCIServiceProtectionDatabase>(18),
    Row<&ICIDebug::GetSlotsCount>(19, Out("count")),
    Row<&ICIDebug::RunMSPUCommand>(20, In("slot", "command", "param", "ltsId")),
    Row<&ICIDebug::DisableCAM>(21, In("disable")),
    Row<&ICIDebug::TransferCertifcateDataFromEepromToSecureStorage>(22),
    Row<&ICIDebug::CILogToggle>(23, InOut("enabled")),
    };
    // clang-format on
};
} // namespace CIM::protocol
