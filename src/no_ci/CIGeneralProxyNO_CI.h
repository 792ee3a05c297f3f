#pragma once

#include <ciapi/ICIGeneral.h>

namespace CIM
{
/// What ICIGeneral answers on a set without CI, and what its proxy answers when the daemon does not: no, at once,
/// without touching outputs, except where the interface says otherwise. Tuning is never blocked, host control never
/// active, no application kept running. Stateless; thread-safe.
class TCCIGeneralProxyNO_CI : public ICIGeneral
{
public:
    TCCIGeneralProxyNO_CI();
    ~TCCIGeneralProxyNO_CI() override;

    int GetCiSlotStatus(std::map<unsigned char, ECamStatus>& statuses, unsigned int selection) override;
    int IsCiSupported() override;
    int GetCamModes(std::map<unsigned char, ECamMode>& modes) override;
    int DisableDescrambling(std::vector<TVSHandle> const& handles) override;
    int EnableDescrambling(std::vector<TVSHandle> const& handles) override;
    int GetCurrentCiStatus(TCCiStatus& status) override;
    int CipTest(bool& passed) override;
    int CipTestStandard(bool& passed) override;
    int CipTestECP(bool& passed) override;
    int WriteCipKey(ECICipCertificateType const& certificateType, ECICipCertificateKind const& certificateKind,
                    EWriteCipKeyResult& outcome) override;
    int GetApplicationInfo(unsigned char slot, ECIApplicationType& applicationType, TCIText& firstText,
                           TCIText& secondText) override;
    int EnterMenu(unsigned char slot, bool oneWay) override;
    int HdsDisplayStatusChanged(unsigned char slot, bool status, bool oneWay) override;
    int GetMmiText(unsigned char slot, TCIText& text) override;
    int GetMmiEnquiry(unsigned char slot, bool& blindAnswer, unsigned char& answerLength, TCIText& text) override;
    int AnswerMmiEnquiry(unsigned char slot, EMmiAnswerId answerId, TCIText const& answer, bool flag,
                         bool oneWay) override;
    int GetMmiMenu(unsigned char slot, TCIText& title, TCIText& subtitle, TCIText& bottomLine,
                   std::vector<TCIText>& choices) override;
    int AnswerMmiMenu(unsigned char slot, unsigned char choice, bool flag, bool oneWay) override;
    int GetMmiList(unsigned char slot, TCIText& title, TCIText& subtitle, TCIText& bottomLine,
                   std::vector<TCIText>& lines) override;
    int CloseMmi(unsigned char slot, bool flag, bool oneWay) override;
    int GetPinWindowShowHandler(TVSHandle const& handle, EPinWindowShowHandler& handler) override;
    int IsCamPinNeeded() override;
    int SendAskRelease() override;
    int ShowCamPinWindow(TVSHandle const& handle) override;
    int VerifyCamPin(unsigned char slot, std::vector<unsigned char> const& pin, bool oneWay) override;
    int SetCamPin(unsigned char slot, std::vector<unsigned char> const& pin, bool oneWay) override;
    int SendCamUpgradeReply(unsigned char slot, ECamUpgradeAnswer answer, bool oneWay) override;
    int SendCaPmt(unsigned char slot, TVSHandle const& handle, std::list<unsigned short> const& values,
                  ECaPmtCmd command, bool oneWay) override;
    int GetCaSystemIds(std::map<unsigned char, std::list<unsigned short>>& caSystemIds) override;
    int ConnectToSasApplication(unsigned long long applicationId, unsigned short& sessionId) override;
    int SendSasData(unsigned short sessionId, std::vector<unsigned char> const& data) override;
    int GetSasData(unsigned short sessionId, unsigned short dataId, std::vector<unsigned char>& data) override;
    int GetDiffHellMsb(unsigned short sessionId, std::vector<unsigned char>& bytes) override;
    int EncryptUsingAesCbcWithSAK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                  std::vector<unsigned char>& output) override;
    int DecryptUsingAesEcbWithSEK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                  std::vector<unsigned char>& output) override;
    int EncryptUsingAesCbcWithSAKConcatDHSK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                            std::vector<unsigned char>& output) override;
    int ComputeSHA256ConcatDHSK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                std::vector<unsigned char>& output) override;
    int CiSlotTest(unsigned char slot) override;
    int GetTuneBlockedByCi(TVSHandle const& handle, EStateChange const& stateChange, long long const& value,
                           bool& blocked) override;
    int IsHostControlActive(bool& active) override;
    int GetKeepAppRunning(bool& keepRunning) override;
    int IsCamVideoTranscodingAuto(bool& automatic) override;
    int IsAnyNeotionNp4CamInserted(bool& inserted) override;
    int GetBackupFilePaths(std::list<std::string>& paths) override;
    int BackupFileDone(std::list<std::string> const& paths) override;
};
} // namespace CIM
