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

    int GetCiSlotStatus(std::map<unsigned char, ECamStatus>&, unsigned int) override { return 0; }
    int IsCiSupported() override { return 0; }
    int GetCamModes(std::map<unsigned char, ECamMode>&) override { return 0; }
    int DisableDescrambling(std::vector<TVSHandle> const&) override { return 0; }
    int EnableDescrambling(std::vector<TVSHandle> const&) override { return 0; }
    int GetCurrentCiStatus(TCCiStatus&) override { return 0; }
    int CipTest(bool&) override { return 0; }
    int CipTestStandard(bool&) override { return 0; }
    int CipTestECP(bool&) override { return 0; }
    int WriteCipKey(ECICipCertificateType const&, ECICipCertificateKind const&, EWriteCipKeyResult&) override
    {
        return 0;
    }
    int GetApplicationInfo(unsigned char, ECIApplicationType&, TCIText&, TCIText&) override { return 0; }
    int EnterMenu(unsigned char, bool) override { return 0; }
    int HdsDisplayStatusChanged(unsigned char, bool, bool) override { return 0; }
    int GetMmiText(unsigned char, TCIText&) override { return 0; }
    int GetMmiEnquiry(unsigned char, bool&, unsigned char&, TCIText&) override { return 0; }
    int AnswerMmiEnquiry(unsigned char, EMmiAnswerId, TCIText const&, bool, bool) override { return 0; }
    int GetMmiMenu(unsigned char, TCIText&, TCIText&, TCIText&, std::vector<TCIText>&) override { return 0; }
    int AnswerMmiMenu(unsigned char, unsigned char, bool, bool) override { return 0; }
    int GetMmiList(unsigned char, TCIText&, TCIText&, TCIText&, std::vector<TCIText>&) override { return 0; }
    int CloseMmi(unsigned char, bool, bool) override { return 0; }
    int GetPinWindowShowHandler(TVSHandle const&, EPinWindowShowHandler&) override { return 0; }
    int IsCamPinNeeded() override { return 0; }
    int SendAskRelease() override { return 0; }
    int ShowCamPinWindow(TVSHandle const&) override { return 0; }
    int VerifyCamPin(unsigned char, std::vector<unsigned char> const&, bool) override { return 0; }
    int SetCamPin(unsigned char, std::vector<unsigned char> const&, bool) override { return 0; }
    int SendCamUpgradeReply(unsigned char, ECamUpgradeAnswer, bool) override { return 0; }
    int SendCaPmt(unsigned char, TVSHandle const&, std::list<unsigned short> const&, ECaPmtCmd, bool) override
    {
        return 0;
    }
    int GetCaSystemIds(std::map<unsigned char, std::list<unsigned short>>&) override { return 0; }
    int ConnectToSasApplication(unsigned long long, unsigned short&) override { return 0; }
    int SendSasData(unsigned short, std::vector<unsigned char> const&) override { return 0; }
    int GetSasData(unsigned short, unsigned short, std::vector<unsigned char>&) override { return 0; }
    int GetDiffHellMsb(unsigned short, std::vector<unsigned char>&) override { return 0; }
    int EncryptUsingAesCbcWithSAK(unsigned short, std::vector<unsigned char> const&,
                                  std::vector<unsigned char>&) override
    {
        return 0;
    }
    int DecryptUsingAesEcbWithSEK(unsigned short, std::vector<unsigned char> const&,
                                  std::vector<unsigned char>&) override
    {
        return 0;
    }
    int EncryptUsingAesCbcWithSAKConcatDHSK(unsigned short, std::vector<unsigned char> const&,
                                            std::vector<unsigned char>&) override
    {
        return 0;
    }
    int ComputeSHA256ConcatDHSK(unsigned short, std::vector<unsigned char> const&, std::vector<unsigned char>&) override
    {
        return 0;
    }
    int CiSlotTest(unsigned char) override { return 0; }
    int GetTuneBlockedByCi(TVSHandle const&, EStateChange const&, long long const&, bool& blocked) override
    {
        blocked = false;
        return 1;
    }
    int IsHostControlActive(bool& active) override
    {
        active = false;
        return 1;
    }
    int GetKeepAppRunning(bool& keepRunning) override
    {
        keepRunning = false;
        return 1;
    }
    int IsCamVideoTranscodingAuto(bool&) override { return 0; }
    int IsAnyNeotionNp4CamInserted(bool& inserted) override
    {
        inserted = false;
        return 1;
    }
    int GetBackupFilePaths(std::list<std::string>&) override { return 0; }
    int BackupFileDone(std::list<std::string> const&) override { return 0; }
};
} // namespace CIM
