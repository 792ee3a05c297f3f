#include "Application.h"

using namespace CIM;

// CAMs, their menus and their PINs.

namespace
{
constexpr ECISignalType MMI = SIGNAL_CI_MMI_STATUS_CHANGED;
constexpr ECISignalType READY = SIGNAL_CI_CAM_READY_STATUS_CHANGED;

ECamStatus StatusOfSlot(TCApplication& application, unsigned char slot)
{
    std::map<unsigned char, ECamStatus> statuses;
    NEED(application.general.GetCiSlotStatus(statuses, 0) == 1);
    NEED(statuses.count(slot) == 1);
    return statuses[slot];
}

void NeedMenuString(TCApplication& application, std::u16string_view expected)
{
    ECIApplicationType type = CI_APPLICATION_TYPE_RESERVED;
    TCIText first;
    TCIText second;
    NEED(application.general.GetApplicationInfo(0, type, first, second) == 1);
    NEED(type == CI_APPLICATION_TYPE_CA && first == expected && second == u"Kelvora");
}

void ColdInsertion(TCApplication& application)
{
    application.Subscribe(
        {SIGNAL_CI_CA_SYSTEMS_CHANGE, SIGNAL_CI_CAM_MODE_CHANGED, SIGNAL_CI_SAC_STATUS_CHANGE, READY});
    NEED(StatusOfSlot(application, 0) == CAM_STATUS_NO_CAM);
    NEED(application.Next(SIGNAL_CI_CA_SYSTEMS_CHANGE).value == 2);
    application.Next(SIGNAL_CI_CAM_MODE_CHANGED, CAM_MODE_CI_PLUS);
    application.Next(SIGNAL_CI_SAC_STATUS_CHANGE, 1);
    application.Next(READY, CAM_STATUS_READY);
    NEED(StatusOfSlot(application, 0) == CAM_STATUS_READY);
    NeedMenuString(application, u"Kelvora CAM");
    std::map<unsigned char, std::list<unsigned short>> ids;
    NEED(application.general.GetCaSystemIds(ids) == 1);
    NEED((ids[0] == std::list<unsigned short>{0x0B00, 0x0B01}));
}

void SilentCam(TCApplication& application)
{
    application.Subscribe({SIGNAL_CI_CAM_MONITOR_STATUS, READY, SIGNAL_CI_CAM_COMPATIBILITY_ISSUE});
    for (unsigned reset = 1; reset <= 5; ++reset)
    {
        NEED(application.Next(SIGNAL_CI_CAM_MONITOR_STATUS, CI_CAM_MONITOR_STATUS_ERROR_DETECTED).value == reset);
    }
    application.Next(SIGNAL_CI_CAM_COMPATIBILITY_ISSUE);
    NEED(StatusOfSlot(application, 0) == CAM_STATUS_NO_CAM);
    application.NeedSilence();
}

void AppStartsLate(TCApplication& application)
{
    application.Subscribe({SIGNAL_CI_CA_SYSTEMS_CHANGE, READY});
    NEED(StatusOfSlot(application, 0) == CAM_STATUS_NO_CAM);
    application.Next(SIGNAL_CI_CA_SYSTEMS_CHANGE);
    application.Next(READY, CAM_STATUS_READY);
    NEED(StatusOfSlot(application, 0) == CAM_STATUS_READY);
    application.NeedSilence();
}

void MenuWalk(TCApplication& application)
{
    application.Subscribe({MMI});
    OpenPage(application, {}, CI_MMI_STATUS_MENU_RECEIVED);
    const TSPage menu = ReadMenu(application);
    NEED(menu.title == u"Kelvora CAM" && menu.subtitle == u"Main menu" && menu.lines.size() == 4);
    NEED(menu.lines[1] == u"Settings");
    NEED(application.general.AnswerMmiMenu(0, 1, false, false) == 1);
    application.Next(MMI, CI_MMI_STATUS_LIST_RECEIVED);
    NEED(ReadList(application).title == u"Smart card");
    NEED(application.general.AnswerMmiMenu(0, 0, false, false) == 1);
    application.Next(MMI, CI_MMI_STATUS_MENU_RECEIVED);
    NEED(application.general.AnswerMmiMenu(0, 5, false, false) == 0);
    NEED(application.general.AnswerMmiMenu(0, 4, false, false) == 1);
    application.Next(MMI, CI_MMI_STATUS_SESSION_CLOSED);
    TSPage gone;
    NEED(application.general.GetMmiMenu(0, gone.title, gone.subtitle, gone.bottom, gone.lines) == 0);
}

void UnsolicitedMenu(TCApplication& application)
{
    application.Subscribe({MMI, SIGNAL_CI_CA_REPLY});
    NEED(application.general.SendCaPmt(0, TVSHandle(PROFILE_MAIN, 0), {0x0B00}, ECAPMTCMD_OKMMI, false) == 1);
    application.Next(SIGNAL_CI_CA_REPLY, 0x71);
    application.Next(MMI, CI_MMI_STATUS_LIST_RECEIVED);
    NEED(ReadList(application).title == u"No entitlement");
    application.Next(MMI, CI_MMI_STATUS_SESSION_CLOSED);
}

void LongMenu(TCApplication& application)
{
    application.Subscribe({MMI});
    OpenPage(application, {}, CI_MMI_STATUS_MENU_RECEIVED);
    const TSPage menu = ReadMenu(application);
    NEED(menu.title.text.empty() && menu.bottom.text.empty() && menu.lines.size() == 250);
    NEED(menu.lines[0] == u"Entry 1" && menu.lines[248] == u"Entry 249");
    NEED(menu.lines[249] == std::u16string(4096, u'x'));
    NEED(application.general.AnswerMmiMenu(0, 250, false, false) == 1);
    application.Next(MMI, CI_MMI_STATUS_TEXT_RECEIVED);
    TCIText text;
    NEED(application.general.GetMmiText(0, text) == 1 && text == u"The last one");
}

void TextTorture(TCApplication& application)
{
    application.Subscribe({MMI});
    OpenPage(application, {}, CI_MMI_STATUS_LIST_RECEIVED);
    const TSPage list = ReadList(application);
    using namespace std::literals;
    NEED(list.title == u"\U0001F600" && list.subtitle == u"a\0b"sv && list.bottom == u"\u200F\u05D0\u200E");
    const std::vector<std::u16string> lines = {
        {0xD83D}, {0xDE00, 0xD83D}, {0xE186, 0xE187, 0xE18A}, u"e\u0301 \u00DF \u20AC", {}, {0xFFFE, 0xFFFF}};
    NEED(list.lines.size() == lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        NEED(list.lines[i] == lines[i]);
    }
}

int Answer(TCApplication& application, EMmiAnswerId id, std::u16string_view text)
{
    return application.general.AnswerMmiEnquiry(0, id, MakeText(text), false, false);
}

void VisibleEnquiry(TCApplication& application)
{
    application.Subscribe({MMI});
    OpenPage(application, {}, CI_MMI_STATUS_ENQUIRY_RECEIVED);
    bool isBlind = true;
    unsigned char length = 0;
    TCIText prompt;
    NEED(application.general.GetMmiEnquiry(0, isBlind, length, prompt) == 1);
    NEED(!isBlind && length == 8 && prompt == u"Enter your postcode");
    NEED(Answer(application, MMI_ANSWER_ID_ANSWER, u"123456789") == 0);
    NEED(Answer(application, MMI_ANSWER_ID_CANCEL, u"") == 1);
    application.Next(MMI, CI_MMI_STATUS_SESSION_CLOSED);
    OpenPage(application, {}, CI_MMI_STATUS_ENQUIRY_RECEIVED);
    NEED(Answer(application, MMI_ANSWER_ID_ANSWER, u"1015 \u00C4\u00D6") == 1);
    application.Next(MMI, CI_MMI_STATUS_TEXT_RECEIVED);
    NEED(application.general.GetMmiText(0, prompt) == 1 && prompt == u"Thank you. Your regional channels follow.");
    NEED(application.general.CloseMmi(0, false, false) == 1);
    application.Next(MMI, CI_MMI_STATUS_SESSION_CLOSED);
}

void NeedPrompt(TCApplication& application, std::u16string_view expected)
{
    bool isBlind = false;
    unsigned char length = 0;
    TCIText prompt;
    NEED(application.general.GetMmiEnquiry(0, isBlind, length, prompt) == 1);
    NEED(isBlind && length == 4 && prompt == expected);
}

void PinEnquiry(TCApplication& application)
{
    application.Subscribe({MMI});
    OpenPage(application, {}, CI_MMI_STATUS_ENQUIRY_RECEIVED);
    NeedPrompt(application, u"Enter your PIN (3 tries left)");
    NEED(Answer(application, MMI_ANSWER_ID_ANSWER, u"0042") == 1);
    application.Next(MMI, CI_MMI_STATUS_LIST_RECEIVED);
    NEED(ReadList(application).subtitle == u"Unlocked");
    NEED(application.general.AnswerMmiMenu(0, 0, false, false) == 1);
    application.Next(MMI, CI_MMI_STATUS_SESSION_CLOSED);
    NEED(application.general.EnterMenu(0, false) == 1);
    for (const auto* const wrong : {u"4200", u"0420"})
    {
        application.Next(MMI, CI_MMI_STATUS_ENQUIRY_RECEIVED);
        NEED(Answer(application, MMI_ANSWER_ID_ANSWER, wrong) == 1);
    }
    application.Next(MMI, CI_MMI_STATUS_ENQUIRY_RECEIVED);
    NeedPrompt(application, u"Enter your PIN (1 tries left)");
    NEED(Answer(application, MMI_ANSWER_ID_ANSWER, u"1111") == 1);
    application.Next(MMI, CI_MMI_STATUS_LIST_RECEIVED);
    NEED(ReadList(application).subtitle == u"Locked");
    application.Next(MMI, CI_MMI_STATUS_SESSION_CLOSED);
}

void PinContentControl(TCApplication& application)
{
    application.Subscribe({SIGNAL_CI_CHECK_PARENTAL_RATING_HANDLERS, SIGNAL_CI_PIN_REPLY_TO_PIN_EVENT,
                           SIGNAL_CI_PIN_REPLY_TO_PIN_CMD, SIGNAL_CI_PIN_REPLY_TO_CI_APP_REQUEST});
    NEED(application.Next(SIGNAL_CI_CHECK_PARENTAL_RATING_HANDLERS).value == 16);
    NEED(application.Next(SIGNAL_CI_PIN_REPLY_TO_PIN_EVENT).id == 3);
    NEED(application.general.IsCamPinNeeded() == 1);
    NEED(application.general.VerifyCamPin(0, Bytes("0043"), false) == 1);
    NEED(application.Next(SIGNAL_CI_PIN_REPLY_TO_PIN_CMD, CAM_PIN_CODE_STATUS_BAD).id == 2);
    NEED(application.general.VerifyCamPin(0, Bytes("0042"), false) == 1);
    NEED(application.Next(SIGNAL_CI_PIN_REPLY_TO_PIN_CMD, CAM_PIN_CODE_STATUS_CORRECT).id == 3);
    NEED(application.general.IsCamPinNeeded() == 0);
    NEED(application.general.SetCamPin(0, Bytes("0001"), false) == 1);
    application.Next(SIGNAL_CI_PIN_REPLY_TO_CI_APP_REQUEST, CAM_PIN_CODE_STATUS_CORRECT);
    NEED(application.general.VerifyCamPin(0, Bytes("0001"), false) == 1);
    application.Next(SIGNAL_CI_PIN_REPLY_TO_PIN_CMD, CAM_PIN_CODE_STATUS_CORRECT);
}

void TwoSlots(TCApplication& application)
{
    application.Subscribe({MMI, SIGNAL_CI_CA_SYSTEMS_CHANGE, READY}, 0);
    application.Subscribe({MMI, SIGNAL_CI_CA_SYSTEMS_CHANGE, READY}, 1);
    NEED(application.general.EnterMenu(0, false) == 1 && application.general.EnterMenu(1, false) == 1);
    NEED(application.Next(MMI, CI_MMI_STATUS_MENU_RECEIVED).slot == 0);
    NEED(application.Next(MMI, CI_MMI_STATUS_LIST_RECEIVED).slot == 1);
    NEED(ReadList(application, 1).title == u"Plain CAM");
    NEED(application.Next(MMI, CI_MMI_STATUS_SESSION_CLOSED).slot == 1);
    NEED(application.Next(SIGNAL_CI_CA_SYSTEMS_CHANGE).slot == 1);
    NEED(application.Next(READY, CAM_STATUS_NO_CAM).slot == 1);
    NEED(ReadMenu(application, 0).title == u"Kelvora CAM");
    application.NeedSilence();
}

void TrustFailure(TCApplication& application)
{
    application.Subscribe({SIGNAL_CI_CAM_COMPATIBILITY_ISSUE, SIGNAL_CI_CAM_MODE_CHANGED, READY});
    application.Next(SIGNAL_CI_CAM_COMPATIBILITY_ISSUE, 14);
    application.Next(SIGNAL_CI_CAM_MODE_CHANGED, CAM_MODE_CI);
    application.Next(READY, CAM_STATUS_READY);
    std::map<unsigned char, ECamMode> modes;
    NEED(application.general.GetCamModes(modes) == 1 && modes[0] == CAM_MODE_CI);
    application.Next(READY, CAM_STATUS_NO_CAM);
    application.Next(SIGNAL_CI_CAM_COMPATIBILITY_ISSUE, 13);
    NEED(StatusOfSlot(application, 0) == CAM_STATUS_NO_CAM);
    application.NeedSilence(); // once, not again after the reset
}

void UpgradeDelayed(TCApplication& application)
{
    constexpr ECISignalType UPGRADE = SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE;
    application.Subscribe({MMI, UPGRADE, READY});
    application.Next(UPGRADE, CAM_UPGRADE_STATUS_REPLY_REQUESTED);
    NEED(application.general.SendCamUpgradeReply(0, CAM_UPGRADE_ANSWER_ASK, false) == 1);
    application.Next(MMI, CI_MMI_STATUS_MENU_RECEIVED);
    NEED(application.general.AnswerMmiMenu(0, 1, false, false) == 1);
    application.Next(MMI, CI_MMI_STATUS_SESSION_CLOSED);
    for (unsigned percent = 0; percent <= 100; percent += 10)
    {
        NEED(application.Next(UPGRADE, CAM_UPGRADE_STATUS_PROGRESS).value == percent);
    }
    NEED(application.Next(UPGRADE, CAM_UPGRADE_STATUS_RESET).value == 0);
    application.Next(READY, CAM_STATUS_NO_CAM);
    application.Next(READY, CAM_STATUS_READY);
    NeedMenuString(application, u"Kelvora CAM 2");
}

void UpgradeUnlucky(TCApplication& application)
{
    constexpr ECISignalType UPGRADE = SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE;
    constexpr unsigned FAILED = 0xFF;
    application.Subscribe({UPGRADE, READY});
    NEED(application.Next(UPGRADE, CAM_UPGRADE_STATUS_REPLY_REQUESTED).id == CAM_UPGRADE_MODE_IMMEDIATE);
    for (unsigned percent = 0; percent <= 60; percent += 20)
    {
        NEED(application.Next(UPGRADE, CAM_UPGRADE_STATUS_PROGRESS).value == percent);
    }
    NEED(application.Next(UPGRADE, CAM_UPGRADE_STATUS_RESET).value == FAILED);
    application.Next(READY, CAM_STATUS_NO_CAM);
    NEED(StatusOfSlot(application, 0) == CAM_STATUS_NO_CAM);
}
} // namespace

const std::vector<TSStory>& CamStories()
{
    static const std::vector<TSStory> stories = {
        {"cold-insertion", ColdInsertion},
        {"silent-cam", SilentCam},
        {"app-starts-late", AppStartsLate},
        {"menu-walk", MenuWalk},
        {"unsolicited-menu", UnsolicitedMenu},
        {"menu-250-entries", LongMenu},
        {"text-torture", TextTorture},
        {"enquiry-visible", VisibleEnquiry},
        {"enquiry-pin", PinEnquiry},
        {"pin-content-control", PinContentControl},
        {"two-slots", TwoSlots},
        {"trust-failure", TrustFailure},
        {"upgrade-delayed", UpgradeDelayed},
        {"upgrade-unlucky", UpgradeUnlucky},
    };
    return stories;
}
