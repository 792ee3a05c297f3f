#include "no_ci/CIGeneralProxyNO_CI.h"

#include "utils/CIAPILog.h"

namespace CIM
{
TCCIGeneralProxyNO_CI::TCCIGeneralProxyNO_CI() { CIM_LOG_INFO_AT("TCCIGeneralProxyNO_CI", 30, ""); }

TCCIGeneralProxyNO_CI::~TCCIGeneralProxyNO_CI() { CIM_LOG_INFO_AT("~TCCIGeneralProxyNO_CI", 37, ""); }

int TCCIGeneralProxyNO_CI::GetCiSlotStatus(std::map<unsigned char, ECamStatus>&, unsigned int) { return 0; }

int TCCIGeneralProxyNO_CI::IsCiSupported() { return 0; }

int TCCIGeneralProxyNO_CI::GetCamModes(std::map<unsigned char, ECamMode>&) { return 0; }

int TCCIGeneralProxyNO_CI::DisableDescrambling(std::vector<TVSHandle> const&) { return 0; }

int TCCIGeneralProxyNO_CI::EnableDescrambling(std::vector<TVSHandle> const&) { return 0; }

int TCCIGeneralProxyNO_CI::GetCurrentCiStatus(TCCiStatus&) { return 0; }

int TCCIGeneralProxyNO_CI::CipTest(bool&) { return 0; }

int TCCIGeneralProxyNO_CI::CipTestStandard(bool&) { return 0; }

int TCCIGeneralProxyNO_CI::CipTestECP(bool&) { return 0; }

int TCCIGeneralProxyNO_CI::WriteCipKey(ECICipCertificateType const&, ECICipCertificateKind const&, EWriteCipKeyResult&)
{
    return 0;
}

int TCCIGeneralProxyNO_CI::GetApplicationInfo(unsigned char, ECIApplicationType&, TCIText&, TCIText&) { return 0; }

int TCCIGeneralProxyNO_CI::EnterMenu(unsigned char, bool) { return 0; }

int TCCIGeneralProxyNO_CI::HdsDisplayStatusChanged(unsigned char, bool, bool) { return 0; }

int TCCIGeneralProxyNO_CI::GetMmiText(unsigned char, TCIText&) { return 0; }

int TCCIGeneralProxyNO_CI::GetMmiEnquiry(unsigned char, bool&, unsigned char&, TCIText&) { return 0; }

int TCCIGeneralProxyNO_CI::AnswerMmiEnquiry(unsigned char, EMmiAnswerId, TCIText const&, bool, bool) { return 0; }

int TCCIGeneralProxyNO_CI::GetMmiMenu(unsigned char, TCIText&, TCIText&, TCIText&, std::vector<TCIText>&) { return 0; }

int TCCIGeneralProxyNO_CI::AnswerMmiMenu(unsigned char, unsigned char, bool, bool) { return 0; }

int TCCIGeneralProxyNO_CI::GetMmiList(unsigned char, TCIText&, TCIText&, TCIText&, std::vector<TCIText>&) { return 0; }

int TCCIGeneralProxyNO_CI::CloseMmi(unsigned char, bool, bool) { return 0; }

int TCCIGeneralProxyNO_CI::GetPinWindowShowHandler(TVSHandle const&, EPinWindowShowHandler&) { return 0; }

int TCCIGeneralProxyNO_CI::IsCamPinNeeded() { return 0; }

int TCCIGeneralProxyNO_CI::SendAskRelease() { return 0; }

int TCCIGeneralProxyNO_CI::ShowCamPinWindow(TVSHandle const&) { return 0; }

int TCCIGeneralProxyNO_CI::VerifyCamPin(unsigned char, std::vector<unsigned char> const&, bool) { return 0; }

int TCCIGeneralProxyNO_CI::SetCamPin(unsigned char, std::vector<unsigned char> const&, bool) { return 0; }

int TCCIGeneralProxyNO_CI::SendCamUpgradeReply(unsigned char, ECamUpgradeAnswer, bool) { return 0; }

int TCCIGeneralProxyNO_CI::SendCaPmt(unsigned char, TVSHandle const&, std::list<unsigned short> const&, ECaPmtCmd, bool)
{
    return 0;
}

int TCCIGeneralProxyNO_CI::GetCaSystemIds(std::map<unsigned char, std::list<unsigned short>>&) { return 0; }

int TCCIGeneralProxyNO_CI::ConnectToSasApplication(unsigned long long, unsigned short&) { return 0; }

int TCCIGeneralProxyNO_CI::SendSasData(unsigned short, std::vector<unsigned char> const&) { return 0; }

int TCCIGeneralProxyNO_CI::GetSasData(unsigned short, unsigned short, std::vector<unsigned char>&) { return 0; }

int TCCIGeneralProxyNO_CI::GetDiffHellMsb(unsigned short, std::vector<unsigned char>&) { return 0; }

int TCCIGeneralProxyNO_CI::EncryptUsingAesCbcWithSAK(unsigned short, std::vector<unsigned char> const&,
                                                     std::vector<unsigned char>&)
{
    return 0;
}

int TCCIGeneralProxyNO_CI::DecryptUsingAesEcbWithSEK(unsigned short, std::vector<unsigned char> const&,
                                                     std::vector<unsigned char>&)
{
    return 0;
}

int TCCIGeneralProxyNO_CI::EncryptUsingAesCbcWithSAKConcatDHSK(unsigned short, std::vector<unsigned char> const&,
                                                               std::vector<unsigned char>&)
{
    return 0;
}

int TCCIGeneralProxyNO_CI::ComputeSHA256ConcatDHSK(unsigned short, std::vector<unsigned char> const&,
                                                   std::vector<unsigned char>&)
{
    return 0;
}

int TCCIGeneralProxyNO_CI::CiSlotTest(unsigned char) { return 0; }

int TCCIGeneralProxyNO_CI::GetTuneBlockedByCi(TVSHandle const&, EStateChange const&, long long const&, bool& blocked)
{
    blocked = false;
    return 1;
}

int TCCIGeneralProxyNO_CI::IsHostControlActive(bool& active)
{
    active = false;
    return 1;
}

int TCCIGeneralProxyNO_CI::GetKeepAppRunning(bool& keepRunning)
{
    keepRunning = false;
    return 1;
}

int TCCIGeneralProxyNO_CI::IsCamVideoTranscodingAuto(bool&) { return 0; }

int TCCIGeneralProxyNO_CI::IsAnyNeotionNp4CamInserted(bool& inserted)
{
    inserted = false;
    return 1;
}

int TCCIGeneralProxyNO_CI::GetBackupFilePaths(std::list<std::string>&) { return 0; }

int TCCIGeneralProxyNO_CI::BackupFileDone(std::list<std::string> const&) { return 0; }
} // namespace CIM
