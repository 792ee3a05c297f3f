#include "ScenarioFiles.h"
#include "simulator/scenario/Condition.h"
#include "simulator/scenario/Scenario.h"

#include <gmock/gmock.h>

#include <algorithm>

using namespace CIM::sim;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace
{
/// A story of these members; the first event stands on line 5.
std::string Story(const std::string& events, const std::string& more = "")
{
    return "{\n  \"name\": \"x\", \"description\": \"y\",\n  \"clock\": \"manual\",\n  \"story\": [\n    " + events +
           "\n  ]" + more + "\n}\n";
}

std::string ErrorOf(const std::string& text)
{
    try
    {
        ReadScenario(CIM::json::TCJsonDocument::Parse("f", text));
        return "";
    }
    catch (const CIM::json::TCFileError& error)
    {
        return error.what();
    }
}

/// The examples of the manual, in their order.
std::vector<std::string> Examples(const std::string& manual)
{
    const std::string fence = "```jsonc\n";
    std::vector<std::string> examples;
    for (std::size_t at = manual.find(fence); at != std::string::npos; at = manual.find(fence, at + 1))
    {
        const std::size_t begin = at + fence.size();
        examples.push_back(manual.substr(begin, manual.find("```", begin) - begin));
    }
    return examples;
}

/// A command that makes calls, each by a program of its own.
std::string Calls(const std::string& script)
{
    return " -- sh -c 'call() { " CICTL " call \"$@\" >/dev/null 2>&1; }; c() { local name=$1; shift; "
           "call ICIGeneral.$name slot=0 \"$@\"; }; " +
           script + "'";
}

const std::string OPENS = "c EnterMenu; c GetMmiMenu; ";
const std::string CHOOSES = "c AnswerMmiMenu choice=1 flag=false; c GetMmiEnquiry; ";
const std::string ANSWERS = "c AnswerMmiEnquiry answerId=MMI_ANSWER_ID_ANSWER answer=0042 flag=false; ";
const std::string READS = "c GetMmiList; ";
const std::string WAITS = "exec sleep 20"; // until it is ended
} // namespace

TEST(StoryFile, WhatNoApplicationCouldMeetIsFound)
{
    const std::string called = R"("call": { "operation": "ICIGeneral.EnterMenu" })";
    const auto when = [](const std::string& condition)
    { return Story(R"({ "says": "s", "when": )" + condition + " }"); };
    const auto expect = [&](const std::string& rest, const char* member = "expect")
    {
        return Story(R"({ "name": "a", "says": "s" }, { "name": "b", "says": "t" })",
                     std::string(", \"") + member + R"(": [{ "says": "u", )" + called + rest + " }]");
    };
    struct TSCase
    {
        std::string text;
        const char* expected; ///< empty: nothing is wrong
    };
    const TSCase cases[] = {
        {Story(R"({ "says": "s" })"), ""},
        {Story(""), "f:4:12: story: a list of events is needed"},
        {Story(R"({ "says": "s" })", R"(, "timeline": [])"),
         "timeline: a scenario has a timeline or a story, not both"},
        {R"({ "name": "x", "description": "y", "timeline": [], "never": [] })", "never: this goes with a story only"},
        {Story("{}"), "f:5:5: story[0]: \"says\" is missing"},
        {Story(R"({ "says": "s", "optional": "" })"), "story[0].optional: one line of text is needed"},
        {Story(R"({ "says": "s", "do": [{ "wait": 5 }] })"),
         "story[0].do[0].wait: there is nothing of that name to do"},
        {Story(R"({ "says": "s", "do": [{ "remove": { "slot": 2 } }] })"), "do[0].remove.slot: there is no such slot"},
        {Story(
             R"({ "says": "s", "do": [{ "remove": { "slot": 0 } }, { "open-menu": { "menu": "no-entitlement" } }] })"),
         ""},
        {Story(R"({ "says": "s", "do": [{ "open-menu": { "menu": "no-entitlement" } }] })",
               R"(, "set": { "base": "default", "inserted": {} })"),
         "f:5:52: story[0].do[0].open-menu.menu: no CAM that has been inserted by then has such a menu"},
        {expect(R"(, "after": "a", "before": "b" }, { "says": "v", "call": { "operation": "ICIGeneral.AnswerMmiEnquiry",
                   "shorterThan": { "slot": 4 } })"),
         "expect[1].call.shorterThan.slot: ICIGeneral.AnswerMmiEnquiry sends no text of that name"},
        {Story(R"({ "says": "s", "name": "a" }, { "says": "t", "name": "a" })"),
         "story[1].name: another event has this"},
        {when(R"({ "cma": {} })"), "f:5:37: story[0].when.cma: there is no such condition; did you mean cam?"},
        {when(R"({ "cam": { "is": "gone" } })"),
         "when.cam.is: \"gone\" is no value of state of a CAM; there are absent"},
        {when(R"({ "cam": { "slot": 2, "is": "ready" } })"), "when.cam.slot: there is no such slot; there are 2"},
        {when(R"({ "cam": { "is": "ready", "name": "none" } })"), "when.cam.name: the name of a CAM"},
        {when(R"({ "sas": { "application": 77 } })"), "when.sas.application: no CAM of the set has"},
        {when(R"({ "upgrade": { "is": "running", "percent": 101 } })"), "when.upgrade.percent: 0 to 100 are needed"},
        {when(R"({ "called": { "operation": "ICIGeneral.Enter" } })"), "when.called.operation: ICIGeneral has no"},
        {when(R"({ "called": { "operation": "ICIGeneral.EnterMenu", "times": 0 } })"), "when.called.times: at least 1"},
        {when(R"({ "called": { "operation": "ICIGeneral.EnterMenu", "since": "later" } })"),
         "when.called.since: no event before this one has the name \"later\""},
        {when(R"({ "subscribed": { "signal": "SIGNAL_CI_NONE" } })"), "when.subscribed.signal: "},
        {when(R"({ "signalled": { "signal": "SIGNAL_CI_CA_REPLY", "code": "CAM_STATUS_READY" } })"),
         "when.signalled.code: "},
        {when(R"({ "any": [{ "after": 5 }] })"), "when.any[0]: conditions are needed here"},
        {Story(R"({ "name": "a", "says": "s", "optional": "o" },
                  { "says": "t", "when": { "called": { "operation": "ICIGeneral.EnterMenu", "since": "a" } } })"),
         "story[1].when: \"a\" may be passed over, so that this event needs to be optional, too"},
        {expect(R"(, "after": "a", "before": "b")"), ""},
        {expect(R"(, "after": "c")"), "expect[0].after: no event has the name \"c\""},
        {expect(R"(, "after": "b", "before": "a")"), "expect[0].before: this event is not behind the one of \"after\""},
        {expect(R"(, "times": 1, "atMost": 2)"), "expect[0].times: \"times\" stands without"},
        {expect(R"(, "atLeast": 3, "atMost": 2)"), "expect[0]: no number of calls meets this"},
        {expect(R"(, "atLeast": 0)"), "expect[0]: any number of calls meets this"},
        {expect(R"(, "after": "b")", "never"), "never[0]: the story ends with the event of \"after\": \"within\" is"},
        {expect(R"(, "times": 1)", "never"), "never[0].times: there is no such member"},
    };
    for (const TSCase& row : cases)
    {
        const std::string error = ErrorOf(row.text);
        EXPECT_TRUE(*row.expected == '\0' ? error.empty() : error.find(row.expected) != std::string::npos)
            << row.text << error;
    }
}

TEST(StoryPlay, MistakesAreNamedAsTheManualShowsThem)
{
    const std::string manual = ReadFile(SOURCES "/docs/simulator.md");
    const std::vector<std::string> examples = Examples(manual);
    ASSERT_EQ(examples.size(), 2u);
    const TCFolder folder;
    const std::string timeline = folder.Write("timeline.json", examples[1]);
    EXPECT_EQ(Shell(Sim() + " check " + timeline).status, 0);

    folder.Write("my-story.json", examples[0]);
    const std::string play = "cd " + (folder / "") + "; " + Sim() + " play my-story.json --step-timeout 2";
    const TSOutput good = Shell(play + " --whole --end" + Calls(OPENS + CHOOSES + ANSWERS + READS + WAITS));
    EXPECT_EQ(good.status, 0) << good.text;
    std::string wrong = ANSWERS;
    wrong.replace(wrong.find("0042"), 4, "42");
    for (const std::string& script :
         {OPENS + CHOOSES + WAITS,                                                              // never answers
          OPENS + CHOOSES + wrong + READS + WAITS,                                              // without the zeros
          OPENS + CHOOSES + ANSWERS + ANSWERS + READS + WAITS,                                  // twice
          OPENS + "c AnswerMmiMenu choice=9 flag=false; " + WAITS,                              // no such entry
          OPENS + CHOOSES + ANSWERS + READS + "c AnswerMmiMenu choice=0 flag=false; " + WAITS}) // the CAM is gone
    {
        const TSOutput output = Shell(play + Calls(script));
        EXPECT_EQ(output.status, 3) << output.text;
        EXPECT_THAT(output.text, Not(HasSubstr("0042")));
        EXPECT_THAT(manual, HasSubstr("```\n" + output.text + "```")) << script;
    }
    for (const TSConditionRow& row : ConditionRows())
    {
        EXPECT_THAT(manual, HasSubstr("| `" + std::string(row.name) + "` |"));
    }
}

TEST(StoryPlay, WhatIsOptionalIsPassedOverUnlessTheWholeIsWanted)
{
    const std::string needs = R"("when": { "called": { "operation": "ICIGeneral.IsCamPinNeeded" } })";
    const TCFolder folder;
    const std::string file = folder.Write(
        "x.json",
        Story(R"({ "name": "a", "says": "a <PIN> & \"more\"", "within": 50, "optional": "nobody asks", )" + needs +
                  R"( }, { "says": "behind it", "optional": "o", "when": { "called": {
                     "operation": "ICIGeneral.EnterMenu", "since": "a" } } }, { "says": "the end" })",
              R"(, "expect": [{ "says": "bound to it", "call": { "operation": "ICIGeneral.EnterMenu" },
                 "after": "a" }])"));
    struct TSCase
    {
        const char* options;
        const char* command;
        int status;
        std::vector<const char*> texts;
    };
    const TSCase cases[] = {
        {"--end",
         "sleep 20",
         0,
         {"not played: step 1 of 3: a <PIN>", ": nobody asks\n", "not played: step 2 of 3",
          "it follows step 1 (a <PIN>", "x is over and met: 1 of 3 steps were played"}},
        {"--patient", "true", 0, {"not played: step 1 of 3"}}, // the application ends first
        {"--whole --end", "sleep 20", 3, {"x.json:5: step 1 of 3", "not played: nobody asks"}},
        {"--verbose --end", "sleep 20", 0, {"step 1 of 3: a <PIN> & \"more\"; waits for IsCamPinNeeded\n"}},
        {"", "sh -c \"exit 41\"", 41, {"the application does not end well: with status 41\n"}},
        {"--step-timeout soon", "true", 2, {"--step-timeout: seconds from 0.001 to 2000000 are needed, not soon"}},
    };
    for (const TSCase& row : cases)
    {
        const std::string report = folder / "report.xml";
        const TSOutput output =
            Shell(Sim() + " play " + file + " --junit " + report + " " + row.options + " -- " + row.command);
        EXPECT_EQ(output.status, row.status) << row.options << output.text;
        for (const char* const text : row.texts)
        {
            EXPECT_THAT(output.text, HasSubstr(text)) << row.options;
        }
        const std::string xml = row.status == 2 ? "" : ReadFile(report);
        if (row.status == 3)
        {
            EXPECT_THAT(xml,
                        AllOf(HasSubstr("failures=\"1\""), HasSubstr("a &lt;PIN&gt; &amp; &quot;more&quot;\">"
                                                                     "<failure message=\"not played: nobody asks\"")));
        }
        else if (!xml.empty())
        {
            EXPECT_THAT(xml, AllOf(HasSubstr(row.status == 0 ? "tests=\"4\" failures=\"0\" errors=\"0\" skipped=\"3\""
                                                             : "tests=\"5\" failures=\"0\" errors=\"1\" skipped=\"3\""),
                                   HasSubstr("<skipped message=\"nobody asks\"/>")));
        }
    }
}

TEST(StoryPlay, WhatAWaitingStoryNeedsComesOrIsMissed)
{
    const TCFolder folder;
    const std::string pin = R"({ "operation": "ICIGeneral.IsCamPinNeeded" })";
    const std::string expectLater =
        R"(, "expect": [{ "says": "asked behind it", "call": )" + pin + R"(, "after": "a" }])";
    struct TSCase
    {
        std::string story;
        std::string script;
        int status;
        const char* text;
    };
    const TSCase cases[] = {
        // A call before the window does not count, and is named; one in it ends the waiting.
        {Story(R"({ "name": "a", "says": "s", "when": { "called": )" + pin + " } }", expectLater),
         "call ICIGeneral.IsCamPinNeeded; " + WAITS, 3, "but it came too early: before step 1 (s)"},
        {Story(R"({ "name": "a", "says": "s" })", expectLater), "call ICIGeneral.IsCamPinNeeded; " + WAITS, 0, "over"},
        {Story(R"({ "name": "a", "says": "s" })", expectLater), "true", 3, "but no call came in that time"},
        // The manual clock goes where "after" and "at" lead, and by itself when a called application only waits.
        {Story(R"({ "says": "s", "when": { "at": 1400 } }, { "says": "t", "when": { "cam": { "is": "ready" },
                  "after": 50 } })"),
         "call ICIGeneral.IsCamPinNeeded; " + WAITS, 0, "2 of 2"},
        {Story(R"({ "says": "s", "when": { "cam": { "slot": 1, "is": "ready" } }, "within": 100 })"),
         "call ICIGeneral.IsCamPinNeeded; " + WAITS, 3,
         "waits until the CAM in slot 1 is ready; that did not come within "
         "100 ms\n  but the CAM in slot 1 is absent"},
        // Counted from an event on.
        {Story(R"({ "name": "a", "says": "s", "when": { "called": { "operation": "ICIGeneral.IsCamPinNeeded" } } },
                  { "says": "t", "when": { "called": { "operation": "ICIGeneral.IsCamPinNeeded", "times": 2, "since": "a" } } })"),
         "call ICIGeneral.IsCamPinNeeded; call ICIGeneral.IsCamPinNeeded; " + WAITS, 3, "step 2 of 2: t"},
        // What the set refuses is the story's own fault, and is told as such.
        {Story(R"({ "says": "s", "do": [{ "remove": { "slot": 1 } }] })"), "true", 3,
         "the set refuses it: slot 1 holds no"},
        {Story(R"({ "says": "s", "do": [{ "end": { "status": 5 } }] })"), "true", 5, ""},
    };
    for (const TSCase& row : cases)
    {
        const std::string file = folder.Write("x.json", row.story);
        const TSOutput output = Shell(Sim() + " play " + file + " --end --step-timeout 1" + Calls(row.script));
        EXPECT_EQ(output.status, row.status) << row.story << output.text;
        EXPECT_THAT(output.text, HasSubstr(row.text)) << row.story;
    }
}

TEST(Stories, EachDescribesItself)
{
    for (const TSScenario& scenario : ShippedScenarios())
    {
        ASSERT_TRUE(scenario.story) << scenario.name;
        EXPECT_FALSE(scenario.tells.empty()) << scenario.name;
        const bool expectsSomething =
            std::any_of(scenario.story->events.begin(), scenario.story->events.end(),
                        [](const TSEvent& event) { return !event.IsOptional() && !event.when.IsTimeOnly(); });
        EXPECT_TRUE(expectsSomething) << scenario.name << " is met by an application that does nothing";
    }
    const std::string text = Shell(Sim() + " describe enquiry-pin").text;
    EXPECT_THAT(text, AllOf(HasSubstr("enquiry-pin: a CAM asks for its PIN"), HasSubstr("A good\napplication hides"),
                            HasSubstr("\n 4. the viewer answers (waits for AnswerMmiEnquiry with slot 0)\n"),
                            HasSubstr("What the application has to do:\n  - the question is read"),
                            HasSubstr("What it must never do:\n  - nobody answers a question that has its answer")));
}
