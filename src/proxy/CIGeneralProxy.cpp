#include "proxy/CIGeneralProxy.h"

#include "protocol/General.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCCIGeneralProxy::TCCIGeneralProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<ICIGeneral>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCCIGeneralProxy", 47, "");
    m_call.WaitForInterface();
}

TCCIGeneralProxy::~TCCIGeneralProxy() { CIM_LOG_INFO_AT("~TCCIGeneralProxy", 55, ""); }

int TCCIGeneralProxy::GetCiSlotStatus(std::map<unsigned char, ECamStatus>& statuses, unsigned int selection)
{
    if (const auto reply = m_call(protocol::general::GetCiSlotStatus, statuses, selection))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetCiSlotStatus(statuses, selection);
}

int TCCIGeneralProxy::IsCiSupported()
{
    return 1; // there is a proxy: CI can be used
}

int TCCIGeneralProxy::GetCamModes(std::map<unsigned char, ECamMode>& modes)
{
    if (const auto reply = m_call(protocol::general::GetCamModes, modes))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetCamModes(modes);
}

int TCCIGeneralProxy::DisableDescrambling(std::vector<TVSHandle> const& handles)
{
    if (const auto reply = m_call(protocol::general::DisableDescrambling, handles))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::DisableDescrambling(handles);
}

int TCCIGeneralProxy::EnableDescrambling(std::vector<TVSHandle> const& handles)
{
    if (const auto reply = m_call(protocol::general::EnableDescrambling, handles))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::EnableDescrambling(handles);
}

int TCCIGeneralProxy::GetCurrentCiStatus(TCCiStatus& status)
{
    if (const auto reply = m_call(protocol::general::GetCurrentCiStatus, status))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetCurrentCiStatus(status);
}

int TCCIGeneralProxy::CipTest(bool& passed)
{
    if (const auto reply = m_call(protocol::general::CipTest, passed))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::CipTest(passed);
}

int TCCIGeneralProxy::CipTestStandard(bool& passed)
{
    if (const auto reply = m_call(protocol::general::CipTestStandard, passed))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::CipTestStandard(passed);
}

int TCCIGeneralProxy::CipTestECP(bool& passed)
{
    if (const auto reply = m_call(protocol::general::CipTestECP, passed))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::CipTestECP(passed);
}

int TCCIGeneralProxy::WriteCipKey(ECICipCertificateType const& certificateType,
                                  ECICipCertificateKind const& certificateKind, EWriteCipKeyResult& outcome)
{
    if (const auto reply = m_call(protocol::general::WriteCipKey, certificateType, certificateKind, outcome))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::WriteCipKey(certificateType, certificateKind, outcome);
}

int TCCIGeneralProxy::GetApplicationInfo(unsigned char slot, ECIApplicationType& applicationType, TCIText& firstText,
                                         TCIText& secondText)
{
    if (const auto reply = m_call(protocol::general::GetApplicationInfo, slot, applicationType, firstText, secondText))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetApplicationInfo(slot, applicationType, firstText, secondText);
}

int TCCIGeneralProxy::EnterMenu(unsigned char slot, bool oneWay)
{
    if (const auto reply = m_call(protocol::general::EnterMenu, slot, oneWay))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::EnterMenu(slot, oneWay);
}

int TCCIGeneralProxy::HdsDisplayStatusChanged(unsigned char slot, bool status, bool oneWay)
{
    if (const auto reply = m_call(protocol::general::HdsDisplayStatusChanged, slot, status, oneWay))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::HdsDisplayStatusChanged(slot, status, oneWay);
}

int TCCIGeneralProxy::GetMmiText(unsigned char slot, TCIText& text)
{
    if (const auto reply = m_call(protocol::general::GetMmiText, slot, text))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetMmiText(slot, text);
}

int TCCIGeneralProxy::GetMmiEnquiry(unsigned char slot, bool& blindAnswer, unsigned char& answerLength, TCIText& text)
{
    if (const auto reply = m_call(protocol::general::GetMmiEnquiry, slot, blindAnswer, answerLength, text))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetMmiEnquiry(slot, blindAnswer, answerLength, text);
}

int TCCIGeneralProxy::AnswerMmiEnquiry(unsigned char slot, EMmiAnswerId answerId, TCIText const& answer, bool flag,
                                       bool oneWay)
{
    if (const auto reply = m_call(protocol::general::AnswerMmiEnquiry, slot, answerId, answer, flag, oneWay))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::AnswerMmiEnquiry(slot, answerId, answer, flag, oneWay);
}

int TCCIGeneralProxy::GetMmiMenu(unsigned char slot, TCIText& title, TCIText& subtitle, TCIText& bottomLine,
                                 std::vector<TCIText>& choices)
{
    if (const auto reply = m_call(protocol::general::GetMmiMenu, slot, title, subtitle, bottomLine, choices))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetMmiMenu(slot, title, subtitle, bottomLine, choices);
}

int TCCIGeneralProxy::AnswerMmiMenu(unsigned char slot, unsigned char choice, bool flag, bool oneWay)
{
    if (const auto reply = m_call(protocol::general::AnswerMmiMenu, slot, choice, flag, oneWay))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::AnswerMmiMenu(slot, choice, flag, oneWay);
}

int TCCIGeneralProxy::GetMmiList(unsigned char slot, TCIText& title, TCIText& subtitle, TCIText& bottomLine,
                                 std::vector<TCIText>& lines)
{
    if (const auto reply = m_call(protocol::general::GetMmiList, slot, title, subtitle, bottomLine, lines))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetMmiList(slot, title, subtitle, bottomLine, lines);
}

int TCCIGeneralProxy::CloseMmi(unsigned char slot, bool flag, bool oneWay)
{
    if (const auto reply = m_call(protocol::general::CloseMmi, slot, flag, oneWay))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::CloseMmi(slot, flag, oneWay);
}

int TCCIGeneralProxy::GetPinWindowShowHandler(TVSHandle const& handle, EPinWindowShowHandler& handler)
{
    if (const auto reply = m_call(protocol::general::GetPinWindowShowHandler, handle, handler))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetPinWindowShowHandler(handle, handler);
}

int TCCIGeneralProxy::IsCamPinNeeded()
{
    if (const auto reply = m_call(protocol::general::IsCamPinNeeded))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::IsCamPinNeeded();
}

int TCCIGeneralProxy::SendAskRelease()
{
    if (const auto reply = m_call(protocol::general::SendAskRelease))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::SendAskRelease();
}

int TCCIGeneralProxy::ShowCamPinWindow(TVSHandle const& handle)
{
    if (const auto reply = m_call(protocol::general::ShowCamPinWindow, handle))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::ShowCamPinWindow(handle);
}

int TCCIGeneralProxy::VerifyCamPin(unsigned char slot, std::vector<unsigned char> const& pin, bool oneWay)
{
    if (const auto reply = m_call(protocol::general::VerifyCamPin, slot, pin, oneWay))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::VerifyCamPin(slot, pin, oneWay);
}

int TCCIGeneralProxy::SetCamPin(unsigned char slot, std::vector<unsigned char> const& pin, bool oneWay)
{
    if (const auto reply = m_call(protocol::general::SetCamPin, slot, pin, oneWay))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::SetCamPin(slot, pin, oneWay);
}

int TCCIGeneralProxy::SendCamUpgradeReply(unsigned char slot, ECamUpgradeAnswer answer, bool oneWay)
{
    if (const auto reply = m_call(protocol::general::SendCamUpgradeReply, slot, answer, oneWay))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::SendCamUpgradeReply(slot, answer, oneWay);
}

int TCCIGeneralProxy::SendCaPmt(unsigned char slot, TVSHandle const& handle, std::list<unsigned short> const& values,
                                ECaPmtCmd command, bool oneWay)
{
    if (const auto reply = m_call(protocol::general::SendCaPmt, slot, handle, values, command, oneWay))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::SendCaPmt(slot, handle, values, command, oneWay);
}

int TCCIGeneralProxy::GetCaSystemIds(std::map<unsigned char, std::list<unsigned short>>& caSystemIds)
{
    if (const auto reply = m_call(protocol::general::GetCaSystemIds, caSystemIds))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetCaSystemIds(caSystemIds);
}

int TCCIGeneralProxy::ConnectToSasApplication(unsigned long long applicationId, unsigned short& sessionId)
{
    if (const auto reply = m_call(protocol::general::ConnectToSasApplication, applicationId, sessionId))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::ConnectToSasApplication(applicationId, sessionId);
}

int TCCIGeneralProxy::SendSasData(unsigned short sessionId, std::vector<unsigned char> const& data)
{
    if (const auto reply = m_call(protocol::general::SendSasData, sessionId, data))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::SendSasData(sessionId, data);
}

int TCCIGeneralProxy::GetSasData(unsigned short sessionId, unsigned short dataId, std::vector<unsigned char>& data)
{
    if (const auto reply = m_call(protocol::general::GetSasData, sessionId, dataId, data))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetSasData(sessionId, dataId, data);
}

int TCCIGeneralProxy::GetDiffHellMsb(unsigned short sessionId, std::vector<unsigned char>& bytes)
{
    if (const auto reply = m_call(protocol::general::GetDiffHellMsb, sessionId, bytes))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetDiffHellMsb(sessionId, bytes);
}

int TCCIGeneralProxy::EncryptUsingAesCbcWithSAK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                                std::vector<unsigned char>& output)
{
    if (const auto reply = m_call(protocol::general::EncryptUsingAesCbcWithSAK, sessionId, input, output))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::EncryptUsingAesCbcWithSAK(sessionId, input, output);
}

int TCCIGeneralProxy::DecryptUsingAesEcbWithSEK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                                std::vector<unsigned char>& output)
{
    if (const auto reply = m_call(protocol::general::DecryptUsingAesEcbWithSEK, sessionId, input, output))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::DecryptUsingAesEcbWithSEK(sessionId, input, output);
}

int TCCIGeneralProxy::EncryptUsingAesCbcWithSAKConcatDHSK(unsigned short sessionId,
                                                          std::vector<unsigned char> const& input,
                                                          std::vector<unsigned char>& output)
{
    if (const auto reply = m_call(protocol::general::EncryptUsingAesCbcWithSAKConcatDHSK, sessionId, input, output))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::EncryptUsingAesCbcWithSAKConcatDHSK(sessionId, input, output);
}

int TCCIGeneralProxy::ComputeSHA256ConcatDHSK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                              std::vector<unsigned char>& output)
{
    if (const auto reply = m_call(protocol::general::ComputeSHA256ConcatDHSK, sessionId, input, output))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::ComputeSHA256ConcatDHSK(sessionId, input, output);
}

int TCCIGeneralProxy::CiSlotTest(unsigned char slot)
{
    if (const auto reply = m_call(protocol::general::CiSlotTest, slot))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::CiSlotTest(slot);
}

int TCCIGeneralProxy::GetTuneBlockedByCi(TVSHandle const& handle, EStateChange const& stateChange,
                                         long long const& value, bool& blocked)
{
    if (const auto reply = m_call(protocol::general::GetTuneBlockedByCi, handle, stateChange, value, blocked))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetTuneBlockedByCi(handle, stateChange, value, blocked);
}

int TCCIGeneralProxy::IsHostControlActive(bool& active)
{
    if (const auto reply = m_call(protocol::general::IsHostControlActive, active))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::IsHostControlActive(active);
}

int TCCIGeneralProxy::GetKeepAppRunning(bool& keepRunning)
{
    if (const auto reply = m_call(protocol::general::GetKeepAppRunning, keepRunning))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetKeepAppRunning(keepRunning);
}

int TCCIGeneralProxy::IsCamVideoTranscodingAuto(bool& automatic)
{
    if (const auto reply = m_call(protocol::general::IsCamVideoTranscodingAuto, automatic))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::IsCamVideoTranscodingAuto(automatic);
}

int TCCIGeneralProxy::IsAnyNeotionNp4CamInserted(bool& inserted)
{
    if (const auto reply = m_call(protocol::general::IsAnyNeotionNp4CamInserted, inserted))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::IsAnyNeotionNp4CamInserted(inserted);
}

int TCCIGeneralProxy::GetBackupFilePaths(std::list<std::string>& paths)
{
    if (const auto reply = m_call(protocol::general::GetBackupFilePaths, paths))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::GetBackupFilePaths(paths);
}

int TCCIGeneralProxy::BackupFileDone(std::list<std::string> const& paths)
{
    if (const auto reply = m_call(protocol::general::BackupFileDone, paths))
    {
        return *reply;
    }
    return TCCIGeneralProxyNO_CI::BackupFileDone(paths);
}
} // namespace CIM
