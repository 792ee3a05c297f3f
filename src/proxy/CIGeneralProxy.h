#pragma once

#include "no_ci/CIGeneralProxyNO_CI.h"
#include "protocol/General.h"
#include "proxy/ProxyCall.h"

namespace CIM
{
/// ICIGeneral over the bus: each operation is one call to the daemon, and the null answer when that fails.
/// Thread-safe: it keeps nothing between calls.
class TCCIGeneralProxy : public TCCIGeneralProxyNO_CI
{
public:
    /// Blocks until the daemon offers the interface, at the longest as long as the connection waits.
    explicit TCCIGeneralProxy(boost::shared_ptr<TIIPCHelper> helper);
    ~TCCIGeneralProxy() override;

    int GetCiSlotStatus(std::map<unsigned char, ECamStatus>& statuses, unsigned int selection) override
    {
        return m_call.Do<&ICIGeneral::GetCiSlotStatus>(statuses, selection)
            .Or([&] { return TNull::GetCiSlotStatus(statuses, selection); });
    }
    int IsCiSupported() override { return 1; } // there is a proxy: CI can be used
    int GetCamModes(std::map<unsigned char, ECamMode>& modes) override
    {
        return m_call.Do<&ICIGeneral::GetCamModes>(modes).Or([&] { return TNull::GetCamModes(modes); });
    }
    int DisableDescrambling(std::vector<TVSHandle> const& handles) override
    {
        return m_call.Do<&ICIGeneral::DisableDescrambling>(handles).Or([&]
                                                                       { return TNull::DisableDescrambling(handles); });
    }
    int EnableDescrambling(std::vector<TVSHandle> const& handles) override
    {
        return m_call.Do<&ICIGeneral::EnableDescrambling>(handles).Or([&]
                                                                      { return TNull::EnableDescrambling(handles); });
    }
    int GetCurrentCiStatus(TCCiStatus& status) override
    {
        return m_call.Do<&ICIGeneral::GetCurrentCiStatus>(status).Or([&] { return TNull::GetCurrentCiStatus(status); });
    }
    int CipTest(bool& passed) override
    {
        return m_call.Do<&ICIGeneral::CipTest>(passed).Or([&] { return TNull::CipTest(passed); });
    }
    int CipTestStandard(bool& passed) override
    {
        return m_call.Do<&ICIGeneral::CipTestStandard>(passed).Or([&] { return TNull::CipTestStandard(passed); });
    }
    int CipTestECP(bool& passed) override
    {
        return m_call.Do<&ICIGeneral::CipTestECP>(passed).Or([&] { return TNull::CipTestECP(passed); });
    }
    int WriteCipKey(ECICipCertificateType const& certificateType, ECICipCertificateKind const& certificateKind,
                    EWriteCipKeyResult& outcome) override
    {
        return m_call.Do<&ICIGeneral::WriteCipKey>(certificateType, certificateKind, outcome)
            .Or([&] { return TNull::WriteCipKey(certificateType, certificateKind, outcome); });
    }
    int GetApplicationInfo(unsigned char slot, ECIApplicationType& applicationType, TCIText& firstText,
                           TCIText& secondText) override
    {
        return m_call.Do<&ICIGeneral::GetApplicationInfo>(slot, applicationType, firstText, secondText)
            .Or([&] { return TNull::GetApplicationInfo(slot, applicationType, firstText, secondText); });
    }
    int EnterMenu(unsigned char slot, bool oneWay) override
    {
        return m_call.Do<&ICIGeneral::EnterMenu>(slot, oneWay).Or([&] { return TNull::EnterMenu(slot, oneWay); });
    }
    int HdsDisplayStatusChanged(unsigned char slot, bool status, bool oneWay) override
    {
        return m_call.Do<&ICIGeneral::HdsDisplayStatusChanged>(slot, status, oneWay)
            .Or([&] { return TNull::HdsDisplayStatusChanged(slot, status, oneWay); });
    }
    int GetMmiText(unsigned char slot, TCIText& text) override
    {
        return m_call.Do<&ICIGeneral::GetMmiText>(slot, text).Or([&] { return TNull::GetMmiText(slot, text); });
    }
    int GetMmiEnquiry(unsigned char slot, bool& blindAnswer, unsigned char& answerLength, TCIText& text) override
    {
        return m_call.Do<&ICIGeneral::GetMmiEnquiry>(slot, blindAnswer, answerLength, text)
            .Or([&] { return TNull::GetMmiEnquiry(slot, blindAnswer, answerLength, text); });
    }
    int AnswerMmiEnquiry(unsigned char slot, EMmiAnswerId answerId, TCIText const& answer, bool flag,
                         bool oneWay) override
    {
        return m_call.Do<&ICIGeneral::AnswerMmiEnquiry>(slot, answerId, answer, flag, oneWay)
            .Or([&] { return TNull::AnswerMmiEnquiry(slot, answerId, answer, flag, oneWay); });
    }
    int GetMmiMenu(unsigned char slot, TCIText& title, TCIText& subtitle, TCIText& bottomLine,
                   std::vector<TCIText>& choices) override
    {
        return m_call.Do<&ICIGeneral::GetMmiMenu>(slot, title, subtitle, bottomLine, choices)
            .Or([&] { return TNull::GetMmiMenu(slot, title, subtitle, bottomLine, choices); });
    }
    int AnswerMmiMenu(unsigned char slot, unsigned char choice, bool flag, bool oneWay) override
    {
        return m_call.Do<&ICIGeneral::AnswerMmiMenu>(slot, choice, flag, oneWay)
            .Or([&] { return TNull::AnswerMmiMenu(slot, choice, flag, oneWay); });
    }
    int GetMmiList(unsigned char slot, TCIText& title, TCIText& subtitle, TCIText& bottomLine,
                   std::vector<TCIText>& lines) override
    {
        return m_call.Do<&ICIGeneral::GetMmiList>(slot, title, subtitle, bottomLine, lines)
            .Or([&] { return TNull::GetMmiList(slot, title, subtitle, bottomLine, lines); });
    }
    int CloseMmi(unsigned char slot, bool flag, bool oneWay) override
    {
        return m_call.Do<&ICIGeneral::CloseMmi>(slot, flag, oneWay)
            .Or([&] { return TNull::CloseMmi(slot, flag, oneWay); });
    }
    int GetPinWindowShowHandler(TVSHandle const& handle, EPinWindowShowHandler& handler) override
    {
        return m_call.Do<&ICIGeneral::GetPinWindowShowHandler>(handle, handler)
            .Or([&] { return TNull::GetPinWindowShowHandler(handle, handler); });
    }
    int IsCamPinNeeded() override
    {
        return m_call.Do<&ICIGeneral::IsCamPinNeeded>().Or([&] { return TNull::IsCamPinNeeded(); });
    }
    int SendAskRelease() override
    {
        return m_call.Do<&ICIGeneral::SendAskRelease>().Or([&] { return TNull::SendAskRelease(); });
    }
    int ShowCamPinWindow(TVSHandle const& handle) override
    {
        return m_call.Do<&ICIGeneral::ShowCamPinWindow>(handle).Or([&] { return TNull::ShowCamPinWindow(handle); });
    }
    int VerifyCamPin(unsigned char slot, std::vector<unsigned char> const& pin, bool oneWay) override
    {
        return m_call.Do<&ICIGeneral::VerifyCamPin>(slot, pin, oneWay)
            .Or([&] { return TNull::VerifyCamPin(slot, pin, oneWay); });
    }
    int SetCamPin(unsigned char slot, std::vector<unsigned char> const& pin, bool oneWay) override
    {
        return m_call.Do<&ICIGeneral::SetCamPin>(slot, pin, oneWay)
            .Or([&] { return TNull::SetCamPin(slot, pin, oneWay); });
    }
    int SendCamUpgradeReply(unsigned char slot, ECamUpgradeAnswer answer, bool oneWay) override
    {
        return m_call.Do<&ICIGeneral::SendCamUpgradeReply>(slot, answer, oneWay)
            .Or([&] { return TNull::SendCamUpgradeReply(slot, answer, oneWay); });
    }
    int SendCaPmt(unsigned char slot, TVSHandle const& handle, std::list<unsigned short> const& values,
                  ECaPmtCmd command, bool oneWay) override
    {
        return m_call.Do<&ICIGeneral::SendCaPmt>(slot, handle, values, command, oneWay)
            .Or([&] { return TNull::SendCaPmt(slot, handle, values, command, oneWay); });
    }
    int GetCaSystemIds(std::map<unsigned char, std::list<unsigned short>>& caSystemIds) override
    {
        return m_call.Do<&ICIGeneral::GetCaSystemIds>(caSystemIds)
            .Or([&] { return TNull::GetCaSystemIds(caSystemIds); });
    }
    int ConnectToSasApplication(unsigned long long applicationId, unsigned short& sessionId) override
    {
        return m_call.Do<&ICIGeneral::ConnectToSasApplication>(applicationId, sessionId)
            .Or([&] { return TNull::ConnectToSasApplication(applicationId, sessionId); });
    }
    int SendSasData(unsigned short sessionId, std::vector<unsigned char> const& data) override
    {
        return m_call.Do<&ICIGeneral::SendSasData>(sessionId, data)
            .Or([&] { return TNull::SendSasData(sessionId, data); });
    }
    int GetSasData(unsigned short sessionId, unsigned short dataId, std::vector<unsigned char>& data) override
    {
        return m_call.Do<&ICIGeneral::GetSasData>(sessionId, dataId, data)
            .Or([&] { return TNull::GetSasData(sessionId, dataId, data); });
    }
    int GetDiffHellMsb(unsigned short sessionId, std::vector<unsigned char>& bytes) override
    {
        return m_call.Do<&ICIGeneral::GetDiffHellMsb>(sessionId, bytes)
            .Or([&] { return TNull::GetDiffHellMsb(sessionId, bytes); });
    }
    int EncryptUsingAesCbcWithSAK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                  std::vector<unsigned char>& output) override
    {
        return m_call.Do<&ICIGeneral::EncryptUsingAesCbcWithSAK>(sessionId, input, output)
            .Or([&] { return TNull::EncryptUsingAesCbcWithSAK(sessionId, input, output); });
    }
    int DecryptUsingAesEcbWithSEK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                  std::vector<unsigned char>& output) override
    {
        return m_call.Do<&ICIGeneral::DecryptUsingAesEcbWithSEK>(sessionId, input, output)
            .Or([&] { return TNull::DecryptUsingAesEcbWithSEK(sessionId, input, output); });
    }
    int EncryptUsingAesCbcWithSAKConcatDHSK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                            std::vector<unsigned char>& output) override
    {
        return m_call.Do<&ICIGeneral::EncryptUsingAesCbcWithSAKConcatDHSK>(sessionId, input, output)
            .Or([&] { return TNull::EncryptUsingAesCbcWithSAKConcatDHSK(sessionId, input, output); });
    }
    int ComputeSHA256ConcatDHSK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                std::vector<unsigned char>& output) override
    {
        return m_call.Do<&ICIGeneral::ComputeSHA256ConcatDHSK>(sessionId, input, output)
            .Or([&] { return TNull::ComputeSHA256ConcatDHSK(sessionId, input, output); });
    }
    int CiSlotTest(unsigned char slot) override
    {
        return m_call.Do<&ICIGeneral::CiSlotTest>(slot).Or([&] { return TNull::CiSlotTest(slot); });
    }
    int GetTuneBlockedByCi(TVSHandle const& handle, EStateChange const& stateChange, long long const& value,
                           bool& blocked) override
    {
        return m_call.Do<&ICIGeneral::GetTuneBlockedByCi>(handle, stateChange, value, blocked)
            .Or([&] { return TNull::GetTuneBlockedByCi(handle, stateChange, value, blocked); });
    }
    int IsHostControlActive(bool& active) override
    {
        return m_call.Do<&ICIGeneral::IsHostControlActive>(active).Or([&]
                                                                      { return TNull::IsHostControlActive(active); });
    }
    int GetKeepAppRunning(bool& keepRunning) override
    {
        return m_call.Do<&ICIGeneral::GetKeepAppRunning>(keepRunning)
            .Or([&] { return TNull::GetKeepAppRunning(keepRunning); });
    }
    int IsCamVideoTranscodingAuto(bool& automatic) override
    {
        return m_call.Do<&ICIGeneral::IsCamVideoTranscodingAuto>(automatic).Or(
            [&] { return TNull::IsCamVideoTranscodingAuto(automatic); });
    }
    int IsAnyNeotionNp4CamInserted(bool& inserted) override
    {
        return m_call.Do<&ICIGeneral::IsAnyNeotionNp4CamInserted>(inserted).Or(
            [&] { return TNull::IsAnyNeotionNp4CamInserted(inserted); });
    }
    int GetBackupFilePaths(std::list<std::string>& paths) override
    {
        return m_call.Do<&ICIGeneral::GetBackupFilePaths>(paths).Or([&] { return TNull::GetBackupFilePaths(paths); });
    }
    int BackupFileDone(std::list<std::string> const& paths) override
    {
        return m_call.Do<&ICIGeneral::BackupFileDone>(paths).Or([&] { return TNull::BackupFileDone(paths); });
    }

private:
    using TNull = TCCIGeneralProxyNO_CI;

    TCProxyCall m_call;
};
} // namespace CIM
