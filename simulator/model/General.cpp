#include "General.h"

#include "simulator/definition/Text.h"

namespace CIM::sim
{
int TCGeneral::GetCiSlotStatus(std::map<unsigned char, ECamStatus>& statuses, unsigned int selection)
{
    statuses.clear();
    for (const TSSlot& slot : m_parts.world.slots)
    {
        if (selection == 0 || (slot.number < 32 && (selection >> slot.number & 1u) != 0))
        {
            statuses[slot.number] = slot.IsReady() ? CAM_STATUS_READY : CAM_STATUS_NO_CAM;
        }
    }
    return 1;
}

int TCGeneral::GetCamModes(std::map<unsigned char, ECamMode>& modes)
{
    modes.clear();
    for (const TSSlot& slot : m_parts.world.slots)
    {
        if (slot.IsReady())
        {
            modes[slot.number] = slot.mode;
        }
    }
    return 1;
}

int TCGeneral::DisableDescrambling(std::vector<TVSHandle> const& handles)
{
    return m_parts.ca.SwitchDescrambling(handles, false);
}

int TCGeneral::EnableDescrambling(std::vector<TVSHandle> const& handles)
{
    return m_parts.ca.SwitchDescrambling(handles, true);
}

int TCGeneral::GetCurrentCiStatus(TCCiStatus& status)
{
    std::map<unsigned char, std::list<unsigned short>> ids;
    m_parts.ca.GetSystemIds(ids);
    status.slots.clear();
    for (const TSSlot& slot : m_parts.world.slots)
    {
        TCSlotInfo& info = status.slots[slot.number];
        if (slot.IsReady())
        {
            info.slotFlag = 1;
            info.slotValue = static_cast<long long>(slot.cam.manufacturerId) << 16 | slot.cam.manufacturerCode;
            info.handles = slot.pipelines;
            info.codes.assign(ids[slot.number].begin(), ids[slot.number].end());
        }
    }
    return 1;
}

int TCGeneral::CipTest(bool& passed)
{
    passed = m_parts.certificates.Has(CIP_CERTIFICATE_KIND_NONE);
    return 1;
}

int TCGeneral::CipTestStandard(bool& passed)
{
    passed = m_parts.certificates.Has(CIP_CERTIFICATE_KIND_STANDARD);
    return 1;
}

int TCGeneral::CipTestECP(bool& passed)
{
    passed = m_parts.certificates.Has(CIP_CERTIFICATE_KIND_ECP);
    return 1;
}

int TCGeneral::WriteCipKey(ECICipCertificateType const& certificateType, ECICipCertificateKind const& certificateKind,
                           EWriteCipKeyResult& result)
{
    result = m_parts.certificates.Write(certificateType, certificateKind);
    return 1;
}

int TCGeneral::GetApplicationInfo(unsigned char slot, ECIApplicationType& applicationType, TCIText& firstText,
                                  TCIText& secondText)
{
    const TSSlot* const found = m_parts.world.Find(slot);
    if (!found || !found->hasApplicationInfo)
    {
        return 0;
    }
    applicationType = found->cam.applicationType;
    Assign(firstText, found->cam.menuString);
    Assign(secondText, found->cam.manufacturerText);
    return 1;
}

int TCGeneral::EnterMenu(unsigned char slot, bool) { return m_parts.mmi.Enter(slot); }

int TCGeneral::HdsDisplayStatusChanged(unsigned char slot, bool status, bool)
{
    return m_parts.host.SetDisplayStatus(slot, status);
}

int TCGeneral::GetMmiText(unsigned char slot, TCIText& text) { return m_parts.mmi.GetText(slot, text); }

int TCGeneral::GetMmiEnquiry(unsigned char slot, bool& blindAnswer, unsigned char& answerLength, TCIText& text)
{
    return m_parts.mmi.GetEnquiry(slot, blindAnswer, answerLength, text);
}

int TCGeneral::AnswerMmiEnquiry(unsigned char slot, EMmiAnswerId answerId, TCIText const& answer, bool, bool)
{
    return m_parts.mmi.AnswerEnquiry(slot, answerId, answer);
}

int TCGeneral::GetMmiMenu(unsigned char slot, TCIText& title, TCIText& subtitle, TCIText& bottomLine,
                          std::vector<TCIText>& choices)
{
    return m_parts.mmi.GetChoices(slot, MMI_KIND_MENU, title, subtitle, bottomLine, choices);
}

int TCGeneral::AnswerMmiMenu(unsigned char slot, unsigned char choice, bool, bool)
{
    return m_parts.mmi.AnswerMenu(slot, choice);
}

int TCGeneral::GetMmiList(unsigned char slot, TCIText& title, TCIText& subtitle, TCIText& bottomLine,
                          std::vector<TCIText>& lines)
{
    return m_parts.mmi.GetChoices(slot, MMI_KIND_LIST, title, subtitle, bottomLine, lines);
}

int TCGeneral::CloseMmi(unsigned char slot, bool, bool) { return m_parts.mmi.Close(slot); }

int TCGeneral::GetPinWindowShowHandler(TVSHandle const& handle, EPinWindowShowHandler& handler)
{
    const TSSlot* const slot = m_parts.world.ServingOrFirstReady(handle);
    if (!slot)
    {
        return 0;
    }
    handler = slot->cam.pin.handler;
    return 1;
}

int TCGeneral::IsCamPinNeeded() { return m_parts.pin.IsNeeded(); }

int TCGeneral::SendAskRelease() { return m_parts.host.AskRelease(); }

int TCGeneral::ShowCamPinWindow(TVSHandle const& handle)
{
    const TSSlot* const slot = m_parts.world.ServingOrFirstReady(handle);
    return slot && m_parts.mmi.OpenPinDialogue(slot->number, handle) ? 1 : 0;
}

int TCGeneral::VerifyCamPin(unsigned char slot, std::vector<unsigned char> const& pin, bool)
{
    return m_parts.pin.Verify(slot, pin);
}

int TCGeneral::SetCamPin(unsigned char slot, std::vector<unsigned char> const& pin, bool)
{
    return m_parts.pin.Set(slot, pin);
}

int TCGeneral::SendCamUpgradeReply(unsigned char slot, ECamUpgradeAnswer answer, bool)
{
    return m_parts.upgrade.Reply(slot, answer);
}

int TCGeneral::SendCaPmt(unsigned char slot, TVSHandle const& handle, std::list<unsigned short> const& values,
                         ECaPmtCmd command, bool)
{
    return m_parts.ca.SendPmt(slot, handle, values, command);
}

int TCGeneral::GetCaSystemIds(std::map<unsigned char, std::list<unsigned short>>& caSystemIds)
{
    m_parts.ca.GetSystemIds(caSystemIds);
    return 1;
}

int TCGeneral::ConnectToSasApplication(unsigned long long applicationId, unsigned short& sessionId)
{
    return m_parts.sas.Connect(applicationId, sessionId);
}

int TCGeneral::SendSasData(unsigned short sessionId, std::vector<unsigned char> const& data)
{
    return m_parts.sas.Send(sessionId, data);
}

int TCGeneral::GetSasData(unsigned short sessionId, unsigned short dataId, std::vector<unsigned char>& data)
{
    return m_parts.sas.Get(sessionId, dataId, data);
}

int TCGeneral::GetDiffHellMsb(unsigned short sessionId, std::vector<unsigned char>& bytes)
{
    if (!m_parts.sas.IsConnected(sessionId))
    {
        return 0;
    }
    bytes = m_parts.crypto.DhskMsb();
    return 1;
}

int TCGeneral::m_Compute(unsigned short sessionId, TCryptoOperation operation, const TBytes& input,
                         TBytes& output) const
{
    return m_parts.sas.IsConnected(sessionId) && (m_parts.crypto.*operation)(input, output) ? 1 : 0;
}

int TCGeneral::EncryptUsingAesCbcWithSAK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                         std::vector<unsigned char>& output)
{
    return m_Compute(sessionId, &TCCrypto::EncryptCbc, input, output);
}

int TCGeneral::DecryptUsingAesEcbWithSEK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                         std::vector<unsigned char>& output)
{
    return m_Compute(sessionId, &TCCrypto::DecryptEcb, input, output);
}

int TCGeneral::EncryptUsingAesCbcWithSAKConcatDHSK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                                   std::vector<unsigned char>& output)
{
    return m_Compute(sessionId, &TCCrypto::EncryptCbcWithDhsk, input, output);
}

int TCGeneral::ComputeSHA256ConcatDHSK(unsigned short sessionId, std::vector<unsigned char> const& input,
                                       std::vector<unsigned char>& output)
{
    return m_Compute(sessionId, &TCCrypto::Sha256WithDhsk, input, output);
}

int TCGeneral::CiSlotTest(unsigned char slot) { return m_parts.host.TestSlot(slot); }

int TCGeneral::GetTuneBlockedByCi(TVSHandle const& handle, EStateChange const& stateChange, long long const&,
                                  bool& blocked)
{
    blocked = m_parts.host.IsTuneBlocked(handle, stateChange);
    return 1;
}

int TCGeneral::IsHostControlActive(bool& active)
{
    active = m_parts.host.IsHostControlActive();
    return 1;
}

int TCGeneral::GetKeepAppRunning(bool& keepRunning)
{
    keepRunning = m_parts.host.IsAppWanted();
    return 1;
}

int TCGeneral::IsCamVideoTranscodingAuto(bool& automatic)
{
    automatic = m_parts.host.IsTranscodingAutomatic();
    return 1;
}

int TCGeneral::IsAnyNeotionNp4CamInserted(bool& inserted)
{
    inserted = m_parts.host.IsSpecialCamInserted();
    return 1;
}

int TCGeneral::GetBackupFilePaths(std::list<std::string>& paths)
{
    m_parts.host.GetBackupFiles(paths);
    return 1;
}

int TCGeneral::BackupFileDone(std::list<std::string> const& paths) { return m_parts.host.BackupDone(paths); }
} // namespace CIM::sim
