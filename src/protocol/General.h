#pragma once

#include "protocol/Operation.h"

#include <ciapi/CINames.h>
#include <ciapi/ICIGeneral.h>

// What crosses the bus for ICIGeneral: one line an operation, in slot order.

namespace CIM::protocol
{
namespace general
{
// clang-format off
inline constexpr auto GetCiSlotStatus = Operation(&ICIGeneral::GetCiSlotStatus, 0, "GetCiSlotStatus", Out("statuses"), In("selection"));
inline constexpr auto IsCiSupported = Operation(&ICIGeneral::IsCiSupported, 1, "IsCiSupported", Local());
inline constexpr auto GetCamModes = Operation(&ICIGeneral::GetCamModes, 2, "GetCamModes", Out("modes"));
inline constexpr auto DisableDescrambling = Operation(&ICIGeneral::DisableDescrambling, 3, "DisableDescrambling", In("handles"));
inline constexpr auto EnableDescrambling = Operation(&ICIGeneral::EnableDescrambling, 4, "EnableDescrambling", In("handles"));
inline constexpr auto GetCurrentCiStatus = Operation(&ICIGeneral::GetCurrentCiStatus, 5, "GetCurrentCiStatus", Out("status"));
inline constexpr auto CipTest = Operation(&ICIGeneral::CipTest, 6, "CipTest", Out("passed"));
inline constexpr auto CipTestStandard = Operation(&ICIGeneral::CipTestStandard, 7, "CipTestStandard", Out("passed"));
inline constexpr auto CipTestECP = Operation(&ICIGeneral::CipTestECP, 8, "CipTestECP", Out("passed"));
inline constexpr auto WriteCipKey = Operation(&ICIGeneral::WriteCipKey, 9, "WriteCipKey", In("certificateType"), In("certificateKind"), Out("outcome"));
inline constexpr auto GetApplicationInfo = Operation(&ICIGeneral::GetApplicationInfo, 10, "GetApplicationInfo", In("slot"), Out("applicationType"), Out("firstText"), Out("secondText"));
inline constexpr auto EnterMenu = Operation(&ICIGeneral::EnterMenu, 11, "EnterMenu", In("slot"), OneWay());
inline constexpr auto HdsDisplayStatusChanged = Operation(&ICIGeneral::HdsDisplayStatusChanged, 12, "HdsDisplayStatusChanged", In("slot"), In("status"), OneWay());
inline constexpr auto GetMmiText = Operation(&ICIGeneral::GetMmiText, 13, "GetMmiText", In("slot"), Out("text"));
inline constexpr auto GetMmiEnquiry = Operation(&ICIGeneral::GetMmiEnquiry, 14, "GetMmiEnquiry", In("slot"), Out("blindAnswer"), Out("answerLength"), Out("text"));
inline constexpr auto AnswerMmiEnquiry = Operation(&ICIGeneral::AnswerMmiEnquiry, 15, "AnswerMmiEnquiry", In("slot"), In("answerId"), In("answer"), In("flag"), OneWay());
inline constexpr auto GetMmiMenu = Operation(&ICIGeneral::GetMmiMenu, 16, "GetMmiMenu", In("slot"), Out("title"), Out("subtitle"), Out("bottomLine"), Out("choices"));
inline constexpr auto AnswerMmiMenu = Operation(&ICIGeneral::AnswerMmiMenu, 17, "AnswerMmiMenu", In("slot"), In("choice"), In("flag"), OneWay());
inline constexpr auto GetMmiList = Operation(&ICIGeneral::GetMmiList, 18, "GetMmiList", In("slot"), Out("title"), Out("subtitle"), Out("bottomLine"), Out("lines"));
inline constexpr auto CloseMmi = Operation(&ICIGeneral::CloseMmi, 19, "CloseMmi", In("slot"), In("flag"), OneWay());
inline constexpr auto GetPinWindowShowHandler = Operation(&ICIGeneral::GetPinWindowShowHandler, 20, "GetPinWindowShowHandler", In("handle"), Out("handler"));
inline constexpr auto IsCamPinNeeded = Operation(&ICIGeneral::IsCamPinNeeded, 21, "IsCamPinNeeded");
inline constexpr auto SendAskRelease = Operation(&ICIGeneral::SendAskRelease, 22, "SendAskRelease");
inline constexpr auto ShowCamPinWindow = Operation(&ICIGeneral::ShowCamPinWindow, 23, "ShowCamPinWindow", In("handle"));
inline constexpr auto VerifyCamPin = Operation(&ICIGeneral::VerifyCamPin, 24, "VerifyCamPin", In("slot"), In("pin"), OneWay());
inline constexpr auto SetCamPin = Operation(&ICIGeneral::SetCamPin, 25, "SetCamPin", In("slot"), In("pin"), OneWay());
inline constexpr auto SendCamUpgradeReply = Operation(&ICIGeneral::SendCamUpgradeReply, 26, "SendCamUpgradeReply", In("slot"), In("answer"), OneWay());
inline constexpr auto SendCaPmt = Operation(&ICIGeneral::SendCaPmt, 27, "SendCaPmt", In("slot"), In("handle"), In("values"), In("command"), OneWay());
inline constexpr auto GetCaSystemIds = Operation(&ICIGeneral::GetCaSystemIds, 28, "GetCaSystemIds", Out("caSystemIds"));
inline constexpr auto ConnectToSasApplication = Operation(&ICIGeneral::ConnectToSasApplication, 29, "ConnectToSasApplication", In("applicationId"), Out("sessionId"));
inline constexpr auto SendSasData = Operation(&ICIGeneral::SendSasData, 30, "SendSasData", In("sessionId"), In("data"));
inline constexpr auto GetSasData = Operation(&ICIGeneral::GetSasData, 31, "GetSasData", In("sessionId"), In("dataId"), Out("data"));
inline constexpr auto GetDiffHellMsb = Operation(&ICIGeneral::GetDiffHellMsb, 32, "GetDiffHellMsb", In("sessionId"), Out("bytes"));
inline constexpr auto EncryptUsingAesCbcWithSAK = Operation(&ICIGeneral::EncryptUsingAesCbcWithSAK, 33, "EncryptUsingAesCbcWithSAK", In("sessionId"), In("input"), Out("output"));
inline constexpr auto DecryptUsingAesEcbWithSEK = Operation(&ICIGeneral::DecryptUsingAesEcbWithSEK, 34, "DecryptUsingAesEcbWithSEK", In("sessionId"), In("input"), Out("output"));
inline constexpr auto EncryptUsingAesCbcWithSAKConcatDHSK = Operation(&ICIGeneral::EncryptUsingAesCbcWithSAKConcatDHSK, 35, "EncryptUsingAesCbcWithSAKConcatDHSK", In("sessionId"), In("input"), Out("output"));
inline constexpr auto ComputeSHA256ConcatDHSK = Operation(&ICIGeneral::ComputeSHA256ConcatDHSK, 36, "ComputeSHA256ConcatDHSK", In("sessionId"), In("input"), Out("output"));
inline constexpr auto CiSlotTest = Operation(&ICIGeneral::CiSlotTest, 37, "CiSlotTest", In("slot"));
inline constexpr auto GetTuneBlockedByCi = Operation(&ICIGeneral::GetTuneBlockedByCi, 38, "GetTuneBlockedByCi", In("handle"), In("stateChange"), In("value"), Out("blocked"));
inline constexpr auto IsHostControlActive = Operation(&ICIGeneral::IsHostControlActive, 39, "IsHostControlActive", Out("active"));
inline constexpr auto GetKeepAppRunning = Operation(&ICIGeneral::GetKeepAppRunning, 40, "GetKeepAppRunning", Out("keepRunning"));
inline constexpr auto IsCamVideoTranscodingAuto = Operation(&ICIGeneral::IsCamVideoTranscodingAuto, 41, "IsCamVideoTranscodingAuto", Out("automatic"));
inline constexpr auto IsAnyNeotionNp4CamInserted = Operation(&ICIGeneral::IsAnyNeotionNp4CamInserted, 42, "IsAnyNeotionNp4CamInserted", Out("inserted"));
inline constexpr auto GetBackupFilePaths = Operation(&ICIGeneral::GetBackupFilePaths, 43, "GetBackupFilePaths", Out("paths"));
inline constexpr auto BackupFileDone = Operation(&ICIGeneral::BackupFileDone, 44, "BackupFileDone", In("paths"));
// clang-format on

inline constexpr auto OPERATIONS = std::tuple(
    GetCiSlotStatus, IsCiSupported, GetCamModes, DisableDescrambling, EnableDescrambling, GetCurrentCiStatus, CipTest,
    CipTestStandard, CipTestECP, WriteCipKey, GetApplicationInfo, EnterMenu, HdsDisplayStatusChanged, GetMmiText,
    GetMmiEnquiry, AnswerMmiEnquiry, GetMmiMenu, AnswerMmiMenu, GetMmiList, CloseMmi, GetPinWindowShowHandler,
    IsCamPinNeeded, SendAskRelease, ShowCamPinWindow, VerifyCamPin, SetCamPin, SendCamUpgradeReply, SendCaPmt,
    GetCaSystemIds, ConnectToSasApplication, SendSasData, GetSasData, GetDiffHellMsb, EncryptUsingAesCbcWithSAK,
    DecryptUsingAesEcbWithSEK, EncryptUsingAesCbcWithSAKConcatDHSK, ComputeSHA256ConcatDHSK, CiSlotTest,
    GetTuneBlockedByCi, IsHostControlActive, GetKeepAppRunning, IsCamVideoTranscodingAuto, IsAnyNeotionNp4CamInserted,
    GetBackupFilePaths, BackupFileDone);
} // namespace general

template <>
struct TTable<ICIGeneral>
{
    static constexpr const char* NAME = "ICIGeneral";
    static const std::string& ConnectionName() { return CI_GENERAL_CONNECTION_NAME; }
    static constexpr const auto& OPERATIONS = general::OPERATIONS;
};
} // namespace CIM::protocol
