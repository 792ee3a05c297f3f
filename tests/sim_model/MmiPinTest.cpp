#include "Recorder.h"

#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace CIM::sim
{
namespace
{
struct TSPage
{
    std::string title;
    std::vector<std::string> lines;
    bool operator==(const TSPage&) const = default;
};

/// What a viewer sees: the menu, list, text or enquiry that is open.
TSPage Seen(ICIGeneral& general, unsigned char slot = 0)
{
    TCIText title;
    TCIText subtitle;
    TCIText bottom;
    std::vector<TCIText> lines;
    bool blind = false;
    unsigned char length = 0;
    TSPage page;
    if (general.GetMmiMenu(slot, title, subtitle, bottom, lines) ||
        general.GetMmiList(slot, title, subtitle, bottom, lines))
    {
        page.title = Utf8(title);
        for (const TCIText& line : lines)
        {
            page.lines.push_back(Utf8(line));
        }
    }
    else if (general.GetMmiText(slot, title))
    {
        page.title = Utf8(title);
    }
    else if (general.GetMmiEnquiry(slot, blind, length, title))
    {
        page = {Utf8(title), {std::to_string(length) + (blind ? " blind" : "")}};
    }
    return page;
}

TSPage Answered(ICIGeneral& general, const char* text)
{
    EXPECT_EQ(general.AnswerMmiEnquiry(0, MMI_ANSWER_ID_ANSWER, MakeText(ToUnits(text)), false, false), 1);
    return Seen(general);
}

/// The simulated CAM with another PIN, one whose leading zeros matter.
TSSetDefinition SetWithPin(const char* digits)
{
    TSSetDefinition set = DefaultSet();
    set.cams[0].pin.digits = digits;
    return set;
}
} // namespace

TEST(SimMmi, AMenuIsWalkedDownAndBackAndOut)
{
    TCRecorder recorder;
    MakeReady(recorder);
    ICIGeneral& general = recorder.model.Of<ICIGeneral>();
    EXPECT_EQ(general.AnswerMmiMenu(0, 0, false, false), 0) << "nothing is open";
    EXPECT_EQ(general.EnterMenu(0, false), 1);
    recorder.Advance(50);
    const TSPage main{"Kelvora CAM", {"Smart card", "Settings", "About", "Exit"}};
    const TSPage settings{"Settings", {"Parental control", "Region", "Close the menu"}};
    EXPECT_EQ(Seen(general), main);
    EXPECT_EQ(general.AnswerMmiMenu(0, 5, false, false), 0) << "there are four";
    EXPECT_EQ(general.AnswerMmiEnquiry(0, MMI_ANSWER_ID_ANSWER, TCIText(), false, false), 0) << "no enquiry";
    EXPECT_EQ(Seen(general), main);
    EXPECT_EQ(general.AnswerMmiMenu(0, 2, false, false), 1);
    EXPECT_EQ(Seen(general), settings);
    EXPECT_EQ(general.AnswerMmiMenu(0, 2, false, false), 1);
    EXPECT_EQ(general.AnswerMmiMenu(0, 1, false, false), 1);
    EXPECT_EQ(Seen(general), (TSPage{"Enter your postcode", {"8"}}));
    EXPECT_EQ(general.AnswerMmiEnquiry(0, MMI_ANSWER_ID_ANSWER, MakeText(u"123456789"), false, false), 0) << "too long";
    EXPECT_EQ(Answered(general, "12345678").title, "Thank you. Your regional channels follow.");
    EXPECT_EQ(general.AnswerMmiMenu(0, 0, false, false), 1);
    EXPECT_EQ(Seen(general).title, "Region") << "going back does not ask again";
    EXPECT_EQ(general.AnswerMmiMenu(0, 2, false, false), 1);
    EXPECT_EQ(Seen(general), settings) << "an entry can lead back";
    EXPECT_EQ(general.AnswerMmiMenu(0, 0, false, false), 1);
    EXPECT_EQ(general.AnswerMmiMenu(0, 1, false, false), 1);
    EXPECT_EQ(Seen(general).title, "Smart card");
    EXPECT_EQ(general.AnswerMmiMenu(0, 0, false, false), 1);
    EXPECT_EQ(Seen(general), main);
    recorder.Take();
    EXPECT_EQ(general.AnswerMmiMenu(0, 0, false, false), 1);
    EXPECT_THAT(recorder.Take(), ElementsAre("1550 MMI_STATUS_CHANGED slot 0 code 0 id 0 value 0"));
    EXPECT_EQ(general.CloseMmi(0, false, false), 0);
    ASSERT_TRUE(recorder.Do("open-menu", {{"menu", "message"}}));
    EXPECT_EQ(Seen(general).title, "A message of your operator");
    EXPECT_EQ(general.CloseMmi(0, false, false), 1);
    EXPECT_EQ(Seen(general), TSPage());
    EXPECT_FALSE(recorder.Do("open-menu", {{"menu", "no such"}}));
}

TEST(SimMmi, APageClosesAndRedrawsItself)
{
    TCRecorder recorder;
    MakeReady(recorder);
    const json::TJson page = {{"title", "Busy"}, {"redrawEveryMs", 1'000}, {"closeAfterMs", 2'500}};
    ASSERT_TRUE(recorder.Do("show-page", {{"page", page}}));
    recorder.Advance(10'000);
    EXPECT_THAT(recorder.Take(), ElementsAre("1500 MMI_STATUS_CHANGED slot 0 code 2 id 0 value 0",
                                             "2500 MMI_STATUS_CHANGED slot 0 code 2 id 0 value 0",
                                             "3500 MMI_STATUS_CHANGED slot 0 code 2 id 0 value 0",
                                             "4000 MMI_STATUS_CHANGED slot 0 code 0 id 0 value 0"));
}

TEST(SimPin, TriesAreCountedAndTheThirdWrongOneBlocksForATime)
{
    TCRecorder recorder(SetWithPin("0042"));
    MakeReady(recorder);
    const TTime block = 600'000;
    const struct
    {
        TBytes pin;
        TTime wait;
        int result;
        int status;
        int triesLeft;
    } cases[] = {
        {{'4', '2'}, 200, 1, CAM_PIN_CODE_STATUS_BAD, 2}, // leading zeros count
        {{0, 0, 4, 2}, 200, 1, CAM_PIN_CODE_STATUS_CORRECT, 3},
        {{'0', '0', '4', '1'}, 200, 1, CAM_PIN_CODE_STATUS_BAD, 2},
        {{}, 200, 0, -1, 0},
        {{'0', 'x'}, 200, 0, -1, 0},
        {{'0', '0', '4', '1'}, 200, 1, CAM_PIN_CODE_STATUS_BAD, 1},
        {{'0', '0', '4', '1'}, 200, 1, CAM_PIN_CODE_STATUS_BAD, 0},
        {{'0', '0', '4', '2'}, block - 201, 1, CAM_PIN_CODE_STATUS_BAD, 0}, // blocked: the right one does not help
        {{'0', '0', '4', '2'}, 201, 1, CAM_PIN_CODE_STATUS_BAD, 0},         // a millisecond too early
        {{'0', '0', '4', '2'}, 200, 1, CAM_PIN_CODE_STATUS_CORRECT, 3},
    };
    for (const auto& step : cases)
    {
        const std::string at = " at " + std::to_string(recorder.model.Now());
        EXPECT_EQ(recorder.model.Of<ICIGeneral>().VerifyCamPin(0, step.pin, false), step.result) << at;
        recorder.Advance(step.wait);
        const auto lines = recorder.Take();
        ASSERT_EQ(lines.size(), step.result == 1 ? 1u : 0u) << at;
        if (step.result == 1)
        {
            EXPECT_THAT(lines[0], HasSubstr("PIN_REPLY_TO_PIN_CMD slot 0 code " + std::to_string(step.status) + " id " +
                                            std::to_string(step.triesLeft)))
                << at;
        }
        EXPECT_THAT(recorder.model.State()["pin"].dump(), Not(HasSubstr("0042")));
    }
}

TEST(SimPin, BusyRequestAndChange)
{
    TCRecorder recorder(SetWithPin("0042"));
    MakeReady(recorder);
    ICIGeneral& general = recorder.model.Of<ICIGeneral>();
    const TBytes old = {'0', '0', '4', '2'};
    const TBytes next = {'7', '7', '7', '7'};
    EXPECT_EQ(general.SetCamPin(0, next, false), 1);
    EXPECT_EQ(general.VerifyCamPin(0, old, false), 1);
    recorder.Advance(200);
    EXPECT_THAT(recorder.Take(), ElementsAre("1500 PIN_REPLY_TO_PIN_CMD slot 0 code 1 id 3 value 0",
                                             "1700 PIN_REPLY_TO_CI_APP_REQUEST slot 0 code 0 id 3 value 0"))
        << "busy, and no change before the old PIN was given";
    EXPECT_EQ(general.IsCamPinNeeded(), 0);
    ASSERT_TRUE(recorder.Do("ask-pin", {{"rating", 16}}));
    EXPECT_EQ(general.IsCamPinNeeded(), 1);
    EXPECT_EQ(general.VerifyCamPin(0, old, false), 1);
    recorder.Advance(200);
    EXPECT_EQ(general.IsCamPinNeeded(), 0);
    EXPECT_EQ(general.SetCamPin(0, next, false), 1);
    recorder.Advance(200);
    recorder.Take();
    ASSERT_TRUE(recorder.Do("reset"));
    recorder.Advance(1'500);
    recorder.Take();
    EXPECT_EQ(general.VerifyCamPin(0, next, false), 1);
    recorder.Advance(200);
    EXPECT_EQ(recorder.Take().back(), "3800 PIN_REPLY_TO_PIN_CMD slot 0 code 2 id 3 value 0") << "kept over a reset";
}

TEST(SimPin, TheCamsOwnEnquiryCountsTheSameTries)
{
    TCRecorder recorder(SetWithPin("0042"));
    MakeReady(recorder);
    ICIGeneral& general = recorder.model.Of<ICIGeneral>();
    ASSERT_TRUE(recorder.Do("open-menu"));
    general.AnswerMmiMenu(0, 2, false, false);
    general.AnswerMmiMenu(0, 1, false, false);
    EXPECT_EQ(Seen(general), (TSPage{"Enter your PIN (3 tries left)", {"4 blind"}}));
    EXPECT_EQ(Answered(general, "42"), (TSPage{"Enter your PIN (2 tries left)", {"4 blind"}}));
    EXPECT_EQ(Answered(general, "0042").lines[0], "Rating limit: 18");
    general.AnswerMmiMenu(0, 0, false, false);
    EXPECT_EQ(Seen(general).title, "Settings");
    general.AnswerMmiMenu(0, 1, false, false);
    Answered(general, "1");
    Answered(general, "2");
    EXPECT_EQ(Answered(general, "3").lines[0], "Too many wrong PINs");
    recorder.Advance(5'000);
    EXPECT_EQ(Seen(general), TSPage()) << "the locked page closes itself";
    EXPECT_EQ(general.ShowCamPinWindow(TVSHandle(PROFILE_SUB, 4)), 1);
    recorder.Take();
    Answered(general, "0042");
    EXPECT_EQ(recorder.Take()[0], "6500 PIN_REPLY_TO_PIN_MMI_REQ slot 0 code 0 id 0 value 0 at 1/4") << "still blocked";
}

TEST(SimUpgrade, RunsGetsStuckAndResetsTheCam)
{
    TSSetDefinition set = DefaultSet();
    set.cams[0].upgrade = {100, 45, 99, 600'000, -1, 5'000, UPGRADE_RESET_INTERFACE, u"Kelvora CAM 2"};
    TCRecorder recorder(set);
    MakeReady(recorder);
    ICIGeneral& general = recorder.model.Of<ICIGeneral>();
    EXPECT_EQ(general.SendCamUpgradeReply(0, CAM_UPGRADE_ANSWER_YES, false), 0) << "nobody asked";
    ASSERT_TRUE(recorder.Do("start-upgrade"));
    EXPECT_FALSE(recorder.Do("start-upgrade"));
    EXPECT_EQ(general.SendCamUpgradeReply(0, CAM_UPGRADE_ANSWER_ASK, false), 1);
    EXPECT_EQ(Seen(general).lines, (std::vector<std::string>{"Install now", "Later"}));
    EXPECT_EQ(general.AnswerMmiMenu(0, 1, false, false), 1);
    recorder.Advance(600'300);
    const std::string head = "CAM_UGRADE_STATUS_CHANGE slot 0 code ";
    EXPECT_THAT(recorder.Take(),
                testing::IsSupersetOf({"1500 " + head + "2 id 0 value 0", "1500 " + head + "1 id 0 value 0",
                                       "1600 " + head + "1 id 0 value 45", "1700 " + head + "1 id 0 value 90",
                                       "1800 " + head + "1 id 0 value 99", "601800 " + head + "1 id 0 value 100",
                                       "601800 " + head + "0 id 0 value 1",
                                       std::string("601800 CAM_READY_STATUS_CHANGED slot 0 code 0 id 0 value 0")}));
    recorder.Advance(1'500);
    ECIApplicationType type{};
    TCIText name;
    TCIText maker;
    EXPECT_EQ(general.GetApplicationInfo(0, type, name, maker), 1);
    EXPECT_EQ(Utf8(name), "Kelvora CAM 2");
    recorder.Take();
    ASSERT_TRUE(recorder.Do("start-upgrade", {{"mode", "CAM_UPGRADE_MODE_IMMEDIATE"}}));
    recorder.Advance(4'999);
    EXPECT_EQ(recorder.Take().size(), 1u);
    recorder.Advance(1);
    EXPECT_THAT(recorder.Take(), ElementsAre("608300 " + head + "1 id 0 value 0")) << "starts without an answer";
}
} // namespace CIM::sim
