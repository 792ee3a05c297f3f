#include "Recorder.h"

#include "simulator/definition/DefinitionJson.h"

#include <gtest/gtest.h>

using testing::HasSubstr;

namespace CIM::sim
{
TEST(SimDefinition, TextsArriveAsTheyWereWritten)
{
    const auto json = json::TJson::parse(R"({
        "cams": [{"name": "texts", "readyMs": 0, "mmiMs": 0, "menu": {
            "title": "", "subtitle": "a\u0000b\u200Fc\uD83D\uDE00", "bottom": [55357, 65, 0],
            "entries": [{"text": {"text": "x", "times": 4096}}, {"text": "Entry {n}", "repeat": 249}]}}],
        "inserted": {"0": "texts"}})");
    TCRecorder recorder(json::FromJson<TSSetDefinition>(json));
    recorder.Advance(0);
    ICIGeneral& general = recorder.model.Of<ICIGeneral>();
    ASSERT_EQ(general.EnterMenu(0, false), 1);
    recorder.Advance(0);
    TCIText title = MakeText(u"old");
    TCIText subtitle;
    TCIText bottom;
    std::vector<TCIText> choices(3);
    ASSERT_EQ(general.GetMmiMenu(0, title, subtitle, bottom, choices), 1);
    EXPECT_TRUE(title.text.empty());
    EXPECT_EQ(subtitle.text, (std::vector<unsigned short>{'a', 0, 'b', 0x200F, 'c', 0xD83D, 0xDE00}));
    EXPECT_EQ(bottom.text, (std::vector<unsigned short>{0xD83D, 65, 0})) << "a lone surrogate is kept";
    ASSERT_EQ(choices.size(), 250u);
    EXPECT_EQ(choices[0].text, std::vector<unsigned short>(4'096, 'x'));
    EXPECT_EQ(Utf8(choices[249]), "Entry 249");
}

TEST(SimDefinition, ErrorsSayWhereAndWhat)
{
    const struct
    {
        const char* json;
        const char* path;
        const char* expected;
    } cases[] = {
        {"[]", "", "an object is needed"},
        {R"({"slot": 2})", "/slot", "slots"},
        {R"({"slots": 256})", "/slots", "0 to 255"},
        {R"({"slots": 1e3})", "/slots", "an integer is needed"},
        {R"({"cams": [{}]})", "/cams/0", "\"name\" is missing"},
        {R"({"cams": [{"name": "a", "base": "b"}]})", "/cams/0/base", "the name of a CAM"},
        {R"({"cams": [{"name": "a", "mode": "CI"}]})", "/cams/0/mode", "CAM_MODE_CI_PLUS"},
        {R"({"cams": [{"name": "a", "pin": {"digits": "12a4"}}]})", "/cams/0/pin/digits", "decimal digits"},
        {R"({"cams": [{"name": "a", "caSystemIds": [65536]}]})", "/cams/0/caSystemIds/0", "65535"},
        {R"({"cams": [{"name": "a", "menus": {"x/y": {"entries": 7}}}]})", "/cams/0/menus/x~1y/entries", "a list"},
        {R"({"cams": [{"name": "a", "menu": {"title": [70000]}}]})", "/cams/0/menu/title/0", "65535"},
        {R"({"cams": [{"name": "a", "menu": {"entries": [{"text": "t", "repeat": 300}]}}]})",
         "/cams/0/menu/entries/0/repeat", "255"},
        {R"({"cams": [{"name": "a", "drmSystems": [{"uuid": "0011"}]}]})", "/cams/0/drmSystems/0/uuid", "16 bytes"},
        {R"({"keys": {"sak": "xyz0"}})", "/keys/sak", "hexadecimal"},
        {R"({"inserted": {"0": "plus"}})", "/inserted/0", "of this set"},
        {R"({"base": "default", "inserted": {"2": "plus"}})", "/inserted/2", "there are 2"},
    };
    for (const auto& wrong : cases)
    {
        const auto json = json::TJson::parse(wrong.json);
        try
        {
            json::FromJson<TSSetDefinition>(json);
            ADD_FAILURE() << "accepted: " << wrong.json;
        }
        catch (const json::TCJsonError& error)
        {
            EXPECT_EQ(error.Place().Pointer(), wrong.path) << wrong.json;
            EXPECT_THAT(error.what(), HasSubstr(wrong.expected)) << wrong.json;
        }
    }
}

TEST(SimDefinition, ACamBuildsUponAnother)
{
    const auto json = json::TJson::parse(R"({"base": "default", "slots": 3,
        "cams": [{"name": "mine", "base": "plus", "caSystemIds": ["0x1234"], "menuString": "Mine"},
                 {"name": "plus", "base": "mine", "readyMs": 7}]})");
    const TSSetDefinition set = json::FromJson<TSSetDefinition>(json);
    ASSERT_TRUE(set.FindCam("plus"));
    EXPECT_EQ(set.FindCam("plus")->caSystemIds, std::vector<unsigned short>{0x1234});
    EXPECT_EQ(set.FindCam("plus")->readyMs, 7);
    EXPECT_EQ(set.FindCam("mine")->pin.digits, "1234");
    EXPECT_TRUE(set.FindCam("plain"));
    EXPECT_EQ(set.slots, 3);
}

TEST(SimControls, RefuseWhatTheyDoNotUnderstandAndDoNothingThen)
{
    TCRecorder recorder;
    const json::TJson before = recorder.model.State();
    for (const TSControl& control : Controls())
    {
        const TSOutcome outcome = recorder.Do(control.name, {{"no such argument", 1}});
        EXPECT_FALSE(outcome) << control.name;
        EXPECT_FALSE(recorder.Do(control.name, json::TJson::array())) << control.name;
        EXPECT_FALSE(recorder.Do(control.name, {{"slot", "first"}})) << control.name;
    }
    EXPECT_FALSE(recorder.Do("no such control"));
    EXPECT_EQ(recorder.Do("signal", {{"type", "SIGNAL_CI_CA_REPLY"}, {"data", "00"}}).error,
              "data: 8 bytes are needed, not 1");
    EXPECT_TRUE(recorder.Take().empty());
    EXPECT_EQ(recorder.model.State(), before);
    EXPECT_TRUE(
        recorder.Do("signal", {{"type", 99}, {"profile", -1}, {"handle", 65535}, {"data", "0102030405060708"}}));
    EXPECT_EQ(recorder.bytes, "0:99:\x01\x02\x03\x04\x05\x06\x07\x08");
}
} // namespace CIM::sim
