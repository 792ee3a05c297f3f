#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINameLiterals.h>
#include <ciapi/ICIGeneral.h>

// What crosses the bus for ICIGeneral: one line an operation, in slot order.

namespace CIM::protocol
{
template <>
struct TTable<ICIGeneral>
{
    static constexpr const char* ConnectionName() { return literals::CI_GENERAL_CONNECTION_NAME; }

    // clang-format off
    static constexpr std::tuple ROWS{
    Row<&ICIGeneral::GetCiSlotStatus>(0, Out("statuses"), In("selection")),
    Row<&ICIGeneral::IsCiSupported>(1, Local()),
    Row<&ICIGeneral::GetCamModes>(2, Out("modes")),
    Row<&ICIGeneral::DisableDescrambling>(3, In("handles")),
    Row<&ICIGeneral::EnableDescrambling>(4, In("handles")),
    Row<&ICIGeneral::GetCurrentCiStatus>(5, Out("status")),
    Row<&ICIGeneral::CipTest>(6, Out("passed")),
    Row<&ICIGeneral::CipTestStandard>(7, Out("passed")),
    Row<&ICIGeneral::CipTestECP>(8, Out("passed")),
    Row<&ICIGeneral::WriteCipKey>(9, In("certificateType", "certificateKind"), Out("outcome")),
    Row<&ICIGeneral::GetApplicationInfo>(10, In("slot"), Out("applicationType", "firstText", "secondText")),
    Row<&ICIGeneral::EnterMenu>(11, In("slot"), OneWay()),
    Row<&ICIGeneral::HdsDisplayStatusChanged>(12, In("slot", "status"), OneWay()),
    Row<&ICIGeneral::GetMmiText>(13, In("slot"), Out("text")),
    Row<&ICIGeneral::GetMmiEnquiry>(14, In("slot"), Out("blindAnswer", "answerLength", "text")),
    Row<&ICIGeneral::AnswerMmiEnquiry>(15, In("slot", "answerId"), SecretIn("answer"), In("flag"), OneWay()),
    Row<&ICIGeneral::GetMmiMenu>(16, In("slot"), Out("title", "subtitle", "bottomLine", "choices")),
    Row<&ICIGeneral::AnswerMmiMenu>(17, In("slot", "choice", "flag"), OneWay()),
    Row<&ICIGeneral::GetMmiList>(18, In("slot"), Out("title", "subtitle", "bottomLine", "lines")),
    Row<&ICIGeneral::CloseMmi>(19, In("slot", "flag"), OneWay()),
    Row<&ICIGeneral::GetPinWindowShowHandler>(20, In("handle"), Out("handler")),
    Row<&ICIGeneral::IsCamPinNeeded>(21),
    Row<&ICIGeneral::SendAskRelease>(22),
    Row<&ICIGeneral::ShowCamPinWindow>(23, In("handle")),
    Row<&ICIGeneral::VerifyCamPin>(24, In("slot"), SecretIn("pin"), OneWay()),
    Row<&ICIGeneral::SetCamPin>(25, In("slot"), SecretIn("pin"), OneWay()),
    Row<&ICIGeneral::SendCamUpgradeReply>(26, In("slot", "answer"), OneWay()),
    Row<&ICIGeneral::SendCaPmt>(27, In("slot", "handle", "values", "command"), OneWay()),
    Row<&ICIGeneral::GetCaSystemIds>(28, Out("caSystemIds")),
    Row<&ICIGeneral::ConnectToSasApplication>(29, In("applicationId"), Out("sessionId")),
    Row<&ICIGeneral::SendSasData>(30, In("sessionId", "data")),
    Row<&ICIGeneral::GetSasData>(31, In("sessionId", "dataId"), Out("data")),
    Row<&ICIGeneral::GetDiffHellMsb>(32, In("sessionId"), Out("bytes")),
    Row<&ICIGeneral::EncryptUsingAesCbcWithSAK>(33, In("sessionId", "input"), Out("output")),
    Row<&ICIGeneral::DecryptUsingAesEcbWithSEK>(34, In("sessionId", "input"), Out("output")),
    Row<&ICIGeneral::EncryptUsingAesCbcWithSAKConcatDHSK>(35, In("sessionId", "input"), Out("output")),
    Row<&ICIGeneral::ComputeSHA256ConcatDHSK>(36, In("sessionId", "input"), Out("output")),
    Row<&ICIGeneral::CiSlotTest>(37, In("slot")),
    Row<&ICIGeneral::GetTuneBlockedByCi>(38, In("handle", "stateChange", "value"), Out("blocked")),
    Row<&ICIGeneral::IsHostControlActive>(39, Out("active")),
    Row<&ICIGeneral::GetKeepAppRunning>(40, Out("keepRunning")),
    Row<&ICIGeneral::IsCamVideoTranscodingAuto>(41, Out("automatic")),
    Row<&ICIGeneral::IsAnyNeotionNp4CamInserted>(42, Out("inserted")),
    Row<&ICIGeneral::GetBackupFilePaths>(43, Out("paths")),
    Row<&ICIGeneral::BackupFileDone>(44, In("paths")),
    };
    // clang-format on
};
} // namespace CIM::protocol
