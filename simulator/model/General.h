#pragma once

#include "Ca.h"
#include "Certificates.h"
#include "Host.h"
#include "Mmi.h"
#include "Pin.h"
#include "Sas.h"
#include "simulator/definition/Crypto.h"
#include "Upgrade.h"

#include <ciapi/ICIGeneral.h>

namespace CIM::sim
{
/// The general interface over the parts that do its work. What the interface leaves to the daemon is decided so:
/// - GetCiSlotStatus: bit n of the selection asks for slot n; 0 asks for all.
/// - GetCurrentCiStatus: flag 1 when a CAM is ready; value the manufacturer id times 65536 plus the manufacturer code
///   (-1 without CAM); handles the pipelines served; codes the CA system ids.
/// - GetApplicationInfo: first text the menu string, second text the manufacturer.
/// - The one-way flags and the flags of the MMI operations change nothing.
class TCGeneral final : public ICIGeneral
{
public:
    struct TSParts
    {
        TSWorld& world;
        TCMmi& mmi;
        TCPin& pin;
        TCCa& ca;
        TCSas& sas;
        TCUpgrade& upgrade;
        TCHost& host;
        TCCertificates& certificates;
        const TCCrypto& crypto;
    };
    explicit TCGeneral(TSParts parts) : m_parts(parts) {}

    int GetCiSlotStatus(std::map<unsigned char, ECamStatus>& statuses, unsigned int selection) override;
    int IsCiSupported() override { return 1; }
    int GetCamModes(std::map<unsigned char, ECamMode>& modes) override;
    int DisableDescrambling(std::vector<TVSHandle> const& handles) override;
    int EnableDescrambling(std::vector<TVSHandle> const& handles) override;
    int GetCurrentCiStatus(TCCiStatus& status) override;
    int CipTest(bool& passed) override;
    int CipTestStandard(bool& passed) override;
    int CipTestECP(bool& passed) override;
    int WriteCipKey(ECICipCertificateType const& certificateType, ECICipCertificateKind const& certificateKind,
                    EWriteCipKeyResult& result) override;
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

private:
    using TCryptoOperation = bool (TCCrypto::*)(const TBytes&, TBytes&) const;
    int m_Compute(unsigned short sessionId, TCryptoOperation operation, const TBytes& input, TBytes& output) const;

    TSParts m_parts;
};
} // namespace CIM::sim
